#include <zant/velmora/choco/choco_package_config.hpp>

#include <utility>

namespace zant::velmora {

Choco_Package_Config::Choco_Package_Config(std::shared_ptr<Virtual_Choco_Exe> choco_exe,
                                           const Choco_Repo_Config& repo_config,
                                           const Choco_Unattended_Upgrade_Config& unattended_upgrade_config)
    : choco_exe_(std::move(choco_exe)),
      repo_config_(repo_config),
      unattended_upgrade_config_(unattended_upgrade_config) {}

Package_Config_Type Choco_Package_Config::type() const {
  return Package_Config_Type::Choco;
}

void Choco_Package_Config::setup_repo_if_necessary() {
  choco_exe_->add_repo(repo_config_.source_location);
}

void Choco_Package_Config::setup_unattended_upgrades_if_necessary() {
  if (unattended_upgrade_config_.enabled) {
    unattended_upgrade_config_.task_scheduler->create_task();
  }
}

void Choco_Package_Config::purge_unattended_upgrade_configuration() {
  unattended_upgrade_config_.task_scheduler->delete_task();
}

void Choco_Package_Config::purge_all_configurations() {
  choco_exe_->remove_repo();
  choco_exe_->clear_http_cache();
  purge_unattended_upgrade_configuration();
}

}  // namespace zant::velmora
