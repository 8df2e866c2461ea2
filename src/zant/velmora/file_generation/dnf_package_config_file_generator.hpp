#pragma once

#include <zant/velmora/dnf/dnf_repo_config.hpp>
#include <zant/velmora/dnf/dnf_unattended_upgrade_config.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/file_generation/package_config_file_generator.hpp>

namespace zant::velmora {

/// Renders the repository file and the timer's drop-ins.
class PACKAGE_MINDER_EXPORT DNF_Package_Config_File_Generator : public Package_Config_File_Generator {
 public:
  /// Keeps copies of both records. The second one's timer manager must be there.
  DNF_Package_Config_File_Generator(std::shared_ptr<Filesystem> filesystem,
                                    const boost::filesystem::path& directory,
                                    const DNF_Repo_Config& repo_config,
                                    const DNF_Unattended_Upgrade_Config& unattended_upgrade_config);

  void generate_repo_files() override;

  /// Does nothing: dnf-automatic needs no service files of its own, only the timer's drop-ins.
  void generate_unattended_upgrade_service_files() override;

  void generate_upgrade_timer_overrides() override;

 private:
  DNF_Repo_Config repo_config_;
  DNF_Unattended_Upgrade_Config unattended_upgrade_config_;
};

}  // namespace zant::velmora
