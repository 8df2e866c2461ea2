#include <zant/velmora/apt/apt_package_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/file_generation/apt_package_config_file_generator.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/path.hpp>

#include <string>
#include <utility>

namespace zant::velmora {

using Package_Constants::PACKAGE_NAME;
using zant::logging::severity_level;

APT_Package_Config::APT_Package_Config(std::shared_ptr<Filesystem> filesystem, std::shared_ptr<System> system,
                                       const boost::filesystem::path& templates_dir,
                                       const APT_Repo_Config& repo_config,
                                       const APT_Unattended_Upgrade_Config& unattended_upgrade_config)
    : filesystem_(std::move(filesystem)),
      system_(std::move(system)),
      repo_config_(repo_config),
      unattended_upgrade_config_(unattended_upgrade_config) {
  log_.init_("APT_Package_Config", "");
  generate_files_from_templates_(templates_dir);
}

Package_Config_Type APT_Package_Config::type() const {
  return Package_Config_Type::APT;
}

void APT_Package_Config::setup_repo_if_necessary() {
  install_repo_keyring_if_necessary_();
  install_repo_source_list_if_necessary_();
}

void APT_Package_Config::setup_unattended_upgrades_if_necessary() {
  if (!unattended_upgrade_config_.enabled) {
    return;
  }
  setup_unattended_upgrade_service_();
  install_unattended_upgrade_service_files_if_necessary_();
  initialize_upgrade_timer_();
}

void APT_Package_Config::purge_unattended_upgrade_configuration() {
  restore_unattended_upgrade_service_config_();
  restore_upgrade_timer_();
}

void APT_Package_Config::purge_all_configurations() {
  remove_repo_keyring_();
  remove_repo_source_list_();
  purge_unattended_upgrade_configuration();
}

void APT_Package_Config::generate_files_from_templates_(const boost::filesystem::path& templates_dir) {
  APT_Package_Config_File_Generator generator(filesystem_, templates_dir / "config-files" / "apt",
                                              repo_config_, unattended_upgrade_config_);
  generator.generate_repo_files();
  generator.generate_unattended_upgrade_service_files();
  generator.generate_upgrade_timer_overrides();
}

void APT_Package_Config::install_repo_keyring_if_necessary_() {
  const auto& keyring = repo_config_.keyring;
  if (filesystem_->files_equal(keyring.source, keyring.target)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice) << "Installing APT repository keyring: " << keyring.target;
  if (!filesystem_->copy_file(keyring.source, keyring.target, Copy_Option::OVERWRITE_EXISTING)) {
    throw_host_step_failed(fmt::format("Failed to install APT repository keyring for {}", PACKAGE_NAME));
  }
}

void APT_Package_Config::install_repo_source_list_if_necessary_() {
  const auto& list = repo_config_.source_list;
  if (filesystem_->files_equal(list.source, list.target)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice) << fmt::format(
      "Updating APT to include {} repository | URL: {} | channel: {}", PACKAGE_NAME, list.url, list.channel);
  if (!filesystem_->copy_file(list.source, list.target, Copy_Option::OVERWRITE_EXISTING)) {
    throw_host_step_failed(fmt::format("Failed to install APT source list file for {}", PACKAGE_NAME));
  }
  if (apply_repo_source_list_()) {
    return;
  }
  // Left in place, a list that APT rejects would fail every APT command of the host.
  filesystem_->remove(boost::filesystem::path(list.target));
  throw_host_step_failed(
      fmt::format("The APT source list file for {} is invalid (it's likely misconfigured or the repo URL is "
                  "unreachable)",
                  PACKAGE_NAME));
}

bool APT_Package_Config::apply_repo_source_list_() const {
  if (command_succeeds(*system_, APT_Constants::REFRESH_REPOS)) {
    return true;
  }
  // The refresh fails for anybody's broken repository; what counts is whether ours can be used. APT prints
  // repository addresses without their trailing slash.
  const std::string url =
      boost::algorithm::trim_right_copy_if(repo_config_.source_list.url, [](char c) { return c == '/'; });
  const std::string policy =
      system_->run_command(APT_Constants::REPO_POLICY_QUERY, Run_Flag::WAIT_AND_CAPTURE).output;
  return policy.find(url) != std::string::npos;
}

void APT_Package_Config::remove_repo_keyring_() {
  const auto& target = repo_config_.keyring.target;
  if (!filesystem_->exists(target)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Removing {} repository keyring: {}", PACKAGE_NAME, target.string());
  filesystem_->remove(target);
}

void APT_Package_Config::remove_repo_source_list_() {
  const boost::filesystem::path target = repo_config_.source_list.target;
  if (!filesystem_->exists(target)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Removing {} source list file: {}", PACKAGE_NAME, target.string());
  // No hold outlives the repository.
  system_->run_command(APT_Constants::UNHOLD_PACKAGE, Run_Flag::WAIT_AND_CAPTURE);
  filesystem_->remove(target);
}

void APT_Package_Config::setup_unattended_upgrade_service_() {
  if (!command_succeeds(*system_, APT_Constants::UNATTENDED_UPGRADES_PRESENCE)) {
    ZANT_LOG(log_, severity_level::notice) << "Installing the unattended-upgrades package";
    if (!command_succeeds(*system_, APT_Constants::INSTALL_UNATTENDED_UPGRADES)) {
      throw_host_step_failed("Failed to install the unattended-upgrades package");
    }
  }
  if (!command_succeeds(*system_, APT_Constants::START_UNATTENDED_UPGRADES)) {
    throw_host_step_failed("Failed to start the unattended-upgrades service");
  }
}

bool APT_Package_Config::verify_unattended_upgrade_service_config_() const {
  const auto& service = unattended_upgrade_config_.service;
  for (std::size_t index = 0; index < service.target_files.size(); ++index) {
    if (!filesystem_->files_equal(service.target_files[index], service.source_files[index])) {
      return false;
    }
  }
  return true;
}

void APT_Package_Config::install_unattended_upgrade_service_files_if_necessary_() {
  if (verify_unattended_upgrade_service_config_()) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << "Installing configuration files for the unattended-upgrades service";
  back_up_unattended_upgrade_service_files_once_();

  const auto& sources = unattended_upgrade_config_.service.source_files;
  const std::size_t copied =
      filesystem_->copy_files(sources, APT_Constants::APT_GLOBAL_CONFIG_DIR, Copy_Option::OVERWRITE_EXISTING);
  if (copied == sources.size()) {
    return;
  }
  if (copied != 0) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("Copied {}/{} files needed to configure unattended-upgrades, restoring backups",
                       copied, sources.size());
    restore_unattended_upgrade_service_config_();
  }
  throw_host_step_failed("Failed to install configuration files for the unattended-upgrades service");
}

void APT_Package_Config::back_up_unattended_upgrade_service_files_once_() {
  // Once the directory is there, the installed files are ours: a second backup would lose the host's own.
  if (filesystem_->exists(APT_Constants::APT_CONFIG_BACKUP_DIR)) {
    return;
  }
  if (!filesystem_->create_directories(APT_Constants::APT_CONFIG_BACKUP_DIR)) {
    throw_host_step_failed(
        "Failed to create backup configuration directory for the unattended-upgrades service");
  }
  filesystem_->copy_files(unattended_upgrade_config_.service.target_files,
                          APT_Constants::APT_CONFIG_BACKUP_DIR, Copy_Option::OVERWRITE_EXISTING);
}

void APT_Package_Config::restore_unattended_upgrade_service_config_() {
  if (!filesystem_->exists(APT_Constants::APT_CONFIG_BACKUP_DIR)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << "Restoring configuration files for the unattended-upgrades service";
  for (std::size_t index = 0; index < unattended_upgrade_config_.service.target_files.size(); ++index) {
    restore_unattended_upgrade_service_file_(index);
  }
  filesystem_->remove_all(APT_Constants::APT_CONFIG_BACKUP_DIR);
}

void APT_Package_Config::restore_unattended_upgrade_service_file_(std::size_t index) {
  const auto& backup = unattended_upgrade_config_.service.backup_files[index];
  const auto& target = unattended_upgrade_config_.service.target_files[index];
  if (filesystem_->exists(backup)) {
    ZANT_LOG(log_, severity_level::notice) << fmt::format("Restoring file {}", target.string());
    filesystem_->copy_file(backup, target, Copy_Option::OVERWRITE_EXISTING);
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("No backup file exists for {}, unable to restore it", target.string());
  filesystem_->remove(target);
}

void APT_Package_Config::initialize_upgrade_timer_() {
  if (unattended_upgrade_config_.timer_manager) {
    unattended_upgrade_config_.timer_manager->initialize_timer();
  }
}

void APT_Package_Config::restore_upgrade_timer_() {
  if (unattended_upgrade_config_.timer_manager) {
    unattended_upgrade_config_.timer_manager->restore_timer();
  }
}

}  // namespace zant::velmora
