#include <zant/velmora/file_generation/dnf_package_config_file_generator.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>

#include <string>
#include <utility>

namespace zant::velmora {

DNF_Package_Config_File_Generator::DNF_Package_Config_File_Generator(
    std::shared_ptr<Filesystem> filesystem, const boost::filesystem::path& directory,
    const DNF_Repo_Config& repo_config, const DNF_Unattended_Upgrade_Config& unattended_upgrade_config)
    : Package_Config_File_Generator(std::move(filesystem), directory),
      repo_config_(repo_config),
      unattended_upgrade_config_(unattended_upgrade_config) {}

void DNF_Package_Config_File_Generator::generate_repo_files() {
  const std::string repo_id = DNF_Constants::DNF_REPO_ID;
  const std::string repo_name = DNF_Constants::DNF_REPO_NAME;
  const DNF_Repo_Config& repo = repo_config_;
  template_manager_().generate_file(DNF_Constants::DNF_REPO_FILE, repo_id, repo_name, repo.base_url,
                                    repo.gpg_key_url, repo.throttle);
}

void DNF_Package_Config_File_Generator::generate_unattended_upgrade_service_files() {}

void DNF_Package_Config_File_Generator::generate_upgrade_timer_overrides() {
  if (!unattended_upgrade_config_.enabled) {
    return;
  }
  generate_upgrade_timer_overrides_(unattended_upgrade_config_.timer_manager->get_timer_config());
}

}  // namespace zant::velmora
