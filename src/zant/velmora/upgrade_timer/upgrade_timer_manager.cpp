#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

namespace zant::velmora {

std::vector<boost::filesystem::path> Upgrade_Timer_Manager::Timer_Config::get_target_files() const {
  return {on_calendar.target, randomized_delay.target};
}

}  // namespace zant::velmora
