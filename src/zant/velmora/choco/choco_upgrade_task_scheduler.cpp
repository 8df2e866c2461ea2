#include <zant/velmora/choco/choco_upgrade_task_scheduler.hpp>

#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/host/command_success.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <fmt/format.h>

#include <utility>

namespace zant::velmora {

using zant::logging::severity_level;

Choco_Upgrade_Task_Scheduler::Choco_Upgrade_Task_Scheduler(std::shared_ptr<System> system,
                                                           const Poco::Util::LayeredConfiguration& config,
                                                           const boost::filesystem::path& exe_path)
    : system_(std::move(system)),
      exe_path_(exe_path),
      options_(config.getString("package.choco.upgrade_scheduler.options",
                                Choco_Constants::DEFAULT_SCHEDULE_OPTIONS)) {
  log_.init_("Choco_Upgrade_Task_Scheduler", "");
}

bool Choco_Upgrade_Task_Scheduler::create_task() {
  ZANT_LOG(log_, severity_level::debug)
      << fmt::format("Scheduling task ({}) for automatic package upgrades, if necessary | Options: {}",
                     Choco_Constants::SCHTASKS_TASK_NAME, options_);
  const std::string program = fmt::format(fmt::runtime(Choco_Constants::TASK_PROGRAM_FORMAT),
                                          exe_path_.string(), Choco_Constants::UPGRADE_ARGUMENTS);
  const std::string command = fmt::format(fmt::runtime(Choco_Constants::CREATE_TASK_FORMAT),
                                          Choco_Constants::CREATE_TASK, program, options_);
  if (command_succeeds(*system_, command)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::error) << "Failed to schedule task for automatic package upgrades";
  return false;
}

bool Choco_Upgrade_Task_Scheduler::delete_task() {
  if (!command_succeeds(*system_, Choco_Constants::QUERY_TASK)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::notice) << fmt::format(
      "Removing scheduled task {} for automatic package upgrades", Choco_Constants::SCHTASKS_TASK_NAME);
  if (command_succeeds(*system_, Choco_Constants::DELETE_TASK)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::error)
      << fmt::format("Failed to remove scheduled task {}", Choco_Constants::SCHTASKS_TASK_NAME);
  return false;
}

}  // namespace zant::velmora
