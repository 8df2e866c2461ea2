#include <zant/velmora/file_generation/apt_package_config_file_generator.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <utility>

namespace zant::velmora {

APT_Package_Config_File_Generator::APT_Package_Config_File_Generator(
    std::shared_ptr<Filesystem> filesystem, const boost::filesystem::path& directory,
    const APT_Repo_Config& repo_config, const APT_Unattended_Upgrade_Config& unattended_upgrade_config)
    : Package_Config_File_Generator(std::move(filesystem), directory),
      repo_config_(repo_config),
      unattended_upgrade_config_(unattended_upgrade_config) {}

void APT_Package_Config_File_Generator::generate_repo_files() {
  const auto& list = repo_config_.source_list;
  template_manager_().generate_file(APT_Constants::APT_SOURCE_LIST_FILE, list.url, list.channel,
                                    list.architecture);
}

void APT_Package_Config_File_Generator::generate_unattended_upgrade_service_files() {
  if (!unattended_upgrade_config_.enabled) {
    return;
  }
  const auto& service = unattended_upgrade_config_.service;
  template_manager_().generate_file(APT_Constants::APT_UNATTENDED_UPGRADES_FILE, service.origins_pattern);
  template_manager_().generate_file(APT_Constants::APT_LOWERSPEED_FILE, service.bandwidth_limit);
}

void APT_Package_Config_File_Generator::generate_upgrade_timer_overrides() {
  if (!unattended_upgrade_config_.enabled || !unattended_upgrade_config_.timer_manager) {
    return;
  }
  generate_upgrade_timer_overrides_(unattended_upgrade_config_.timer_manager->get_timer_config());
}

}  // namespace zant::velmora
