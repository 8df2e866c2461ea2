#pragma once

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/services/interruptible_system.hpp>

#include <zant/logging/source.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zant::velmora_host {

/// A command service for hosts whose package manager fetches what a server may make as large as it likes, and
/// leaves it behind when that is not what it expects. Such a command line runs in the form that its family
/// has for it, with a directory of its own that is deleted with everything in it when the command has ended;
/// all others run as they are. The log channel is "Command_Service".
///
/// Safe to call from several threads at once.
class Contained_Fetches : public Interruptible_System {
 public:
  /// How many bytes one command line may fetch. The largest keys with all their signatures are far smaller.
  static constexpr std::uintmax_t LARGEST = std::uintmax_t{4} * 1024 * 1024;

  /// The exit code of a command line that failed because it was offered more; that of curl, which no command
  /// line of the library's has.
  static constexpr int TOO_LARGE = 63;

  /// @param families outlive the object.
  Contained_Fetches(std::shared_ptr<Interruptible_System> real, const Family_Registry& families);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;
  velmora::Command_Result run_command_within(const std::string& command,
                                             const Command_Bounds& bounds) override;

 private:
  using Run = std::function<velmora::Command_Result(const std::string& command)>;

  velmora::Command_Result run_(const std::string& command, const Run& run);
  velmora::Command_Result run_contained_(const std::string& command, const Run& run);

  zant::logging::Source log_;
  const std::shared_ptr<Interruptible_System> real_;
  const Family_Registry& families_;
};

}  // namespace zant::velmora_host
