#include <zant/velmora/facilitators/windows_package_facilitator.hpp>

#include <zant/velmora/choco/choco_exe.hpp>
#include <zant/velmora/choco/choco_package.hpp>
#include <zant/velmora/choco/choco_package_config.hpp>
#include <zant/velmora/choco/choco_upgrade_task_scheduler.hpp>
#include <zant/velmora/package_minder/errors.hpp>

#include <Poco/Util/LayeredConfiguration.h>

#include <utility>

namespace zant::velmora {

Windows_Package_Facilitator::Windows_Package_Facilitator(std::shared_ptr<System> system,
                                                         const Poco::Util::LayeredConfiguration& config,
                                                         const boost::filesystem::path& base_directory)
    : system_(std::move(system)),
      choco_exe_(std::make_shared<Choco_Exe>(system_, base_directory / "chocolatey" / "choco.exe")),
      config_(config) {}

std::shared_ptr<Package_Config> Windows_Package_Facilitator::create_package_config(
    bool automatic_upgrades) const {
  const Choco_Repo_Config repo_config(config_);
  const auto task_scheduler =
      std::make_shared<Choco_Upgrade_Task_Scheduler>(system_, config_, choco_exe_->get_exe_path());
  const Choco_Unattended_Upgrade_Config unattended_upgrade_config(task_scheduler, automatic_upgrades);
  return std::make_shared<Choco_Package_Config>(choco_exe_, repo_config, unattended_upgrade_config);
}

std::shared_ptr<Package> Windows_Package_Facilitator::create_package(
    std::shared_ptr<Package_Config> config) const {
  if (!config || config->type() != Package_Config_Type::Choco) {
    throw_unservable_request("Invalid package configuration");
  }
  return std::make_shared<Choco_Package>(choco_exe_, std::move(config));
}

}  // namespace zant::velmora
