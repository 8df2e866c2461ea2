#include <zant/velmora/dnf/dnf_unattended_upgrade_config.hpp>

#include <utility>

namespace zant::velmora {

DNF_Unattended_Upgrade_Config::DNF_Unattended_Upgrade_Config(
    std::shared_ptr<Upgrade_Timer_Manager> timer_manager, bool enabled)
    : timer_manager(std::move(timer_manager)), enabled(enabled) {}

}  // namespace zant::velmora
