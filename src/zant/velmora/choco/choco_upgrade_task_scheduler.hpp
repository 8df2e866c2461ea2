#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/choco/upgrade_task_scheduler.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// The task of the Windows Task Scheduler that runs choco.exe as the system account.
class PACKAGE_MINDER_EXPORT Choco_Upgrade_Task_Scheduler : public Upgrade_Task_Scheduler {
 public:
  /// Reads "package.choco.upgrade_scheduler.options", whose value goes into the command as it stands. Runs
  /// nothing.
  Choco_Upgrade_Task_Scheduler(std::shared_ptr<System> system, const Poco::Util::LayeredConfiguration& config,
                               const boost::filesystem::path& exe_path);

  /// Creates the task afresh at every call, so that changed options take effect; a failure is logged.
  bool create_task() override;

  /// A task that cannot be queried counts as absent; a failure to delete is logged.
  bool delete_task() override;

 private:
  zant::logging::Source log_;
  std::shared_ptr<System> system_;
  boost::filesystem::path exe_path_;
  std::string options_;
};

}  // namespace zant::velmora
