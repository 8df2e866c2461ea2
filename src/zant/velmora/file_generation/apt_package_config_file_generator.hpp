#pragma once

#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/apt/apt_unattended_upgrade_config.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/file_generation/package_config_file_generator.hpp>

namespace zant::velmora {

/// Renders the source list, the rendered ones of the unattended-upgrades files, and the timer's drop-ins.
class PACKAGE_MINDER_EXPORT APT_Package_Config_File_Generator : public Package_Config_File_Generator {
 public:
  /// Keeps copies of both records.
  APT_Package_Config_File_Generator(std::shared_ptr<Filesystem> filesystem,
                                    const boost::filesystem::path& directory,
                                    const APT_Repo_Config& repo_config,
                                    const APT_Unattended_Upgrade_Config& unattended_upgrade_config);

  void generate_repo_files() override;
  void generate_unattended_upgrade_service_files() override;

  /// Does nothing either when the record holds no timer manager.
  void generate_upgrade_timer_overrides() override;

 private:
  APT_Repo_Config repo_config_;
  APT_Unattended_Upgrade_Config unattended_upgrade_config_;
};

}  // namespace zant::velmora
