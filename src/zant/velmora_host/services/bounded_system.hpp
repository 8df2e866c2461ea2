#pragma once

#include <zant/velmora_host/services/interruptible_system.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// A command service that gives every command what is left of the time that all of them together have, for
/// questions that must be answered in time. A command that comes too late is not started, and answers
/// `Exit_Code::TIME_LIMIT` as one that was ended. A service that is no `Interruptible_System` is not asked
/// once the time is over; a command that it runs already is waited for.
///
/// Safe to call from several threads at once.
class Bounded_System : public Interruptible_System {
 public:
  using Clock = std::chrono::steady_clock;

  /// @param now tells the time.
  Bounded_System(std::shared_ptr<velmora::System> real, Command_Bounds bounds,
                 std::function<Clock::time_point()> now = Clock::now);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;
  velmora::Command_Result run_command_within(const std::string& command,
                                             const Command_Bounds& bounds) override;

  /// The first command that got no time or not enough of it; nothing when all had enough.
  std::optional<std::string> first_cut() const;

 private:
  bool is_over_(const Command_Bounds& bounds) const;
  velmora::Command_Result run_(const std::string& command, const Command_Bounds& bounds);

  const std::shared_ptr<velmora::System> real_;
  const Command_Bounds bounds_;
  const std::function<Clock::time_point()> now_;
  mutable std::mutex mutex_;
  std::optional<std::string> first_cut_;
};

}  // namespace zant::velmora_host
