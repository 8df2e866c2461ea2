#pragma once

#include <zant/velmora_host/families/repository_limit.hpp>

#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora_host {

/// The library's configuration of a host together with the limit on its repository.
class Limited_Package_Config : public velmora::Package_Config {
 public:
  Limited_Package_Config(std::shared_ptr<velmora::Package_Config> config,
                         std::shared_ptr<Repository_Limit> limit);

  velmora::Package_Config_Type type() const override;
  void setup_repo_if_necessary() override;
  void setup_unattended_upgrades_if_necessary() override;
  void purge_unattended_upgrade_configuration() override;
  void purge_all_configurations() override;

 private:
  std::shared_ptr<velmora::Package_Config> config_;
  std::shared_ptr<Repository_Limit> limit_;
};

}  // namespace zant::velmora_host
