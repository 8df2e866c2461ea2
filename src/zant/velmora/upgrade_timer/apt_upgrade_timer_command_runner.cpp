#include <zant/velmora/upgrade_timer/apt_upgrade_timer_command_runner.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/host/command_success.hpp>

#include <utility>

namespace zant::velmora {

APT_Upgrade_Timer_Command_Runner::APT_Upgrade_Timer_Command_Runner(std::shared_ptr<System> system)
    : system_(std::move(system)) {}

bool APT_Upgrade_Timer_Command_Runner::start_timer() const {
  return command_succeeds(*system_, APT_Constants::START_TIMER);
}

bool APT_Upgrade_Timer_Command_Runner::timer_needs_reload() const {
  return command_succeeds(*system_, APT_Constants::TIMER_NEEDS_RELOAD);
}

bool APT_Upgrade_Timer_Command_Runner::reload_timer() const {
  return command_succeeds(*system_, APT_Constants::RELOAD_TIMER);
}

bool APT_Upgrade_Timer_Command_Runner::timer_is_running() const {
  return command_succeeds(*system_, APT_Constants::TIMER_STATUS);
}

}  // namespace zant::velmora
