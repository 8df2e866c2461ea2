#pragma once

#include <zant/velmora/choco/upgrade_task_scheduler.hpp>
#include <zant/velmora/export.hpp>

#include <memory>

namespace zant::velmora {

/// How automatic upgrades are to be set up on a Chocolatey host.
struct PACKAGE_MINDER_EXPORT Choco_Unattended_Upgrade_Config {
  /// Shares the scheduler, which must not be null.
  Choco_Unattended_Upgrade_Config(std::shared_ptr<Upgrade_Task_Scheduler> task_scheduler, bool enabled);

  std::shared_ptr<Upgrade_Task_Scheduler> task_scheduler;
  bool enabled;  ///< whether the task is to be created
};

}  // namespace zant::velmora
