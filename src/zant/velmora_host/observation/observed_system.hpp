#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/services/host_services.hpp>

#include <zant/velmora/host/system.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What an import has made of the keys that the package manager trusts: see `Family::trusted_keys`.
struct Key_Import {
  std::string line;  ///< the command line
  std::vector<std::string> before;
  std::vector<std::string> after;
};

/// Who wants to know of the commands that the library runs. Called on the thread that runs them.
class Command_Observer {
 public:
  virtual ~Command_Observer() = default;

  virtual void note_begin(const std::string& line, Command_Kind kind) = 0;
  virtual void note_end(const Ended_Command& command, Command_Kind kind, double seconds) = 0;

  /// A step failed and the library goes on.
  virtual void note_failure(const Cycle_Failure& failure) = 0;

  /// Of every import of a key, whether or not it succeeded, where the package manager tells its keys.
  virtual void note_key_import(const Key_Import& import) = 0;
};

/// A command service that tells an observer what the library's commands do, and which of them failed in a way
/// that the library does not report itself.
class Observed_System : public velmora::System {
 public:
  /// @param services the real ones.
  /// @param family   of the host; outlives this object.
  Observed_System(const Host_Services& services, const Family& family, Occasion occasion,
                  std::shared_ptr<Command_Observer> observer);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;

 private:
  Host_Services services_;
  const Family& family_;
  Occasion occasion_;
  std::shared_ptr<Command_Observer> observer_;
};

}  // namespace zant::velmora_host
