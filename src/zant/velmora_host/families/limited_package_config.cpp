#include <zant/velmora_host/families/limited_package_config.hpp>

#include <utility>

namespace zant::velmora_host {

Limited_Package_Config::Limited_Package_Config(std::shared_ptr<velmora::Package_Config> config,
                                               std::shared_ptr<Repository_Limit> limit)
    : config_(std::move(config)), limit_(std::move(limit)) {}

velmora::Package_Config_Type Limited_Package_Config::type() const {
  return config_->type();
}

void Limited_Package_Config::setup_repo_if_necessary() {
  limit_->set_up_if_necessary();
  config_->setup_repo_if_necessary();
}

void Limited_Package_Config::setup_unattended_upgrades_if_necessary() {
  config_->setup_unattended_upgrades_if_necessary();
}

void Limited_Package_Config::purge_unattended_upgrade_configuration() {
  config_->purge_unattended_upgrade_configuration();
}

void Limited_Package_Config::purge_all_configurations() {
  config_->purge_all_configurations();
  limit_->purge();
}

}  // namespace zant::velmora_host
