#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/apt/apt_unattended_upgrade_config.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <memory>

namespace zant::velmora {

/// Debian-family hosts: source list and keyring, the configuration of the unattended-upgrades service with
/// backups of the host's own files, and the drop-ins of the upgrade timer.
///
/// All state lies on the host's disk. The backup directory marks that the service files were installed from
/// here: it is made by the first installation and goes with a restore.
class PACKAGE_MINDER_EXPORT APT_Package_Config : public Package_Config {
 public:
  /// Keeps the services and copies of both records, and renders all files into the staging directory, whether
  /// or not they will be installed.
  ///
  /// @param templates_dir the staging directory.
  /// @throws what `Template_Manager::generate_file` throws.
  APT_Package_Config(std::shared_ptr<Filesystem> filesystem, std::shared_ptr<System> system,
                     const boost::filesystem::path& templates_dir, const APT_Repo_Config& repo_config,
                     const APT_Unattended_Upgrade_Config& unattended_upgrade_config);

  Package_Config_Type type() const override;

  /// Installs the keyring and the source list where they differ, and after a new source list proves that APT
  /// accepts it. A list that APT rejects is taken out again, so that it cannot break APT for the rest of the
  /// host; a failure of somebody else's repository is tolerated.
  ///
  /// @throws Internal_Error<std::runtime_error> naming the step that failed.
  void setup_repo_if_necessary() override;

  /// Installs the unattended-upgrades package if it is missing, starts its service, installs its three
  /// configuration files where they differ (with a backup the first time), and initialises the upgrade timer.
  /// A partial installation of the files is rolled back.
  ///
  /// @throws Internal_Error<std::runtime_error> naming the step that failed.
  void setup_unattended_upgrades_if_necessary() override;

  /// Gives the host its own service files back, removes those that it never had, and restores the timer.
  void purge_unattended_upgrade_configuration() override;

  /// Removes keyring and source list (and with the latter a hold on the package), then purges the
  /// automatic-upgrade configuration.
  void purge_all_configurations() override;

 private:
  void generate_files_from_templates_(const boost::filesystem::path& templates_dir);

  void install_repo_keyring_if_necessary_();
  void install_repo_source_list_if_necessary_();
  bool apply_repo_source_list_() const;
  void remove_repo_keyring_();
  void remove_repo_source_list_();

  void setup_unattended_upgrade_service_();
  bool verify_unattended_upgrade_service_config_() const;
  void install_unattended_upgrade_service_files_if_necessary_();
  void back_up_unattended_upgrade_service_files_once_();
  void restore_unattended_upgrade_service_config_();
  void restore_unattended_upgrade_service_file_(std::size_t index);

  void initialize_upgrade_timer_();
  void restore_upgrade_timer_();

  zant::logging::Source log_;
  std::shared_ptr<Filesystem> filesystem_;
  std::shared_ptr<System> system_;
  APT_Repo_Config repo_config_;
  APT_Unattended_Upgrade_Config unattended_upgrade_config_;
};

}  // namespace zant::velmora
