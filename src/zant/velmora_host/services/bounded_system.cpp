#include <zant/velmora_host/services/bounded_system.hpp>

#include <zant/velmora_host/services/command_service.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora_host {

Bounded_System::Bounded_System(std::shared_ptr<velmora::System> real, Command_Bounds bounds,
                               std::function<Clock::time_point()> now)
    : real_(std::move(real)), bounds_(std::move(bounds)), now_(std::move(now)) {}

velmora::Command_Result Bounded_System::run_command(const std::string& command, bool /*flag*/) {
  return run_command_within(command, {});
}

velmora::Command_Result Bounded_System::run_command_within(const std::string& command,
                                                           const Command_Bounds& bounds) {
  Command_Bounds both = bounds_;
  both.deadline = std::min(bounds_.deadline, bounds.deadline);
  if (!both.is_given_up) {
    both.is_given_up = bounds.is_given_up;
  } else if (bounds.is_given_up) {
    both.is_given_up = [this, &bounds] { return bounds_.is_given_up() || bounds.is_given_up(); };
  }
  const auto result =
      is_over_(both) ? velmora::Command_Result{"", Exit_Code::TIME_LIMIT} : run_(command, both);
  // A command may have the same exit code of its own.
  if (result.exit_code == Exit_Code::TIME_LIMIT && is_over_(both)) {
    const std::lock_guard lock(mutex_);
    if (!first_cut_) {
      first_cut_ = command;
    }
  }
  return result;
}

std::optional<std::string> Bounded_System::first_cut() const {
  const std::lock_guard lock(mutex_);
  return first_cut_;
}

bool Bounded_System::is_over_(const Command_Bounds& bounds) const {
  return now_() >= bounds.deadline || (bounds.is_given_up && bounds.is_given_up());
}

velmora::Command_Result Bounded_System::run_(const std::string& command, const Command_Bounds& bounds) {
  if (const auto interruptible = std::dynamic_pointer_cast<Interruptible_System>(real_)) {
    return interruptible->run_command_within(command, bounds);
  }
  return real_->run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
}

}  // namespace zant::velmora_host
