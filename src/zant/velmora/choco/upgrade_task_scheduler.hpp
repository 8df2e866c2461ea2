#pragma once

#include <zant/velmora/export.hpp>

namespace zant::velmora {

/// The scheduled task that upgrades the package. A failing command is a false result, never an exception.
class PACKAGE_MINDER_EXPORT Upgrade_Task_Scheduler {
 public:
  virtual ~Upgrade_Task_Scheduler() = default;

  /// Creates the task, replacing an earlier one.
  virtual bool create_task() = 0;

  /// Deletes the task; true when it is gone.
  virtual bool delete_task() = 0;
};

}  // namespace zant::velmora
