#include <zant/velmora/choco/choco_unattended_upgrade_config.hpp>

#include <utility>

namespace zant::velmora {

Choco_Unattended_Upgrade_Config::Choco_Unattended_Upgrade_Config(
    std::shared_ptr<Upgrade_Task_Scheduler> task_scheduler, bool enabled)
    : task_scheduler(std::move(task_scheduler)), enabled(enabled) {}

}  // namespace zant::velmora
