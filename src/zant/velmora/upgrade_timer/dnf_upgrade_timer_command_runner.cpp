#include <zant/velmora/upgrade_timer/dnf_upgrade_timer_command_runner.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/host/command_success.hpp>

#include <utility>

namespace zant::velmora {

DNF_Upgrade_Timer_Command_Runner::DNF_Upgrade_Timer_Command_Runner(std::shared_ptr<System> system)
    : system_(std::move(system)) {}

bool DNF_Upgrade_Timer_Command_Runner::start_timer() const {
  disable_conflicting_dnf_automatic_timers_();
  return command_succeeds(*system_, DNF_Constants::START_TIMER);
}

bool DNF_Upgrade_Timer_Command_Runner::timer_needs_reload() const {
  return command_succeeds(*system_, DNF_Constants::TIMER_NEEDS_RELOAD);
}

bool DNF_Upgrade_Timer_Command_Runner::reload_timer() const {
  disable_conflicting_dnf_automatic_timers_();
  return command_succeeds(*system_, DNF_Constants::RELOAD_TIMER);
}

bool DNF_Upgrade_Timer_Command_Runner::timer_is_running() const {
  return command_succeeds(*system_, DNF_Constants::TIMER_STATUS);
}

void DNF_Upgrade_Timer_Command_Runner::disable_conflicting_dnf_automatic_timers_() const {
  // Fails where not all of the timers exist, which is as good.
  system_->run_command(DNF_Constants::DISABLE_CONFLICTING_TIMERS, Run_Flag::WAIT_AND_CAPTURE);
}

}  // namespace zant::velmora
