#pragma once

#include <zant/velmora/choco/choco_repo_config.hpp>
#include <zant/velmora/choco/choco_unattended_upgrade_config.hpp>
#include <zant/velmora/choco/virtual_choco_exe.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora {

/// Windows hosts: the Chocolatey source and the scheduled upgrade task. Failures are told by the log records
/// of the wrapper and the scheduler alone, and never thrown.
class PACKAGE_MINDER_EXPORT Choco_Package_Config : public Package_Config {
 public:
  /// Shares the wrapper and keeps copies of both records; runs nothing.
  Choco_Package_Config(std::shared_ptr<Virtual_Choco_Exe> choco_exe, const Choco_Repo_Config& repo_config,
                       const Choco_Unattended_Upgrade_Config& unattended_upgrade_config);

  Package_Config_Type type() const override;
  void setup_repo_if_necessary() override;
  void setup_unattended_upgrades_if_necessary() override;

  /// Deletes the task, whether or not automatic upgrades are wanted.
  void purge_unattended_upgrade_configuration() override;

  /// Removes the source, empties the cache and deletes the task; every step runs whatever the others do.
  void purge_all_configurations() override;

 private:
  std::shared_ptr<Virtual_Choco_Exe> choco_exe_;
  Choco_Repo_Config repo_config_;
  Choco_Unattended_Upgrade_Config unattended_upgrade_config_;
};

}  // namespace zant::velmora
