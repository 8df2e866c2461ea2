#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/dnf/dnf_repo_config.hpp>
#include <zant/velmora/dnf/dnf_unattended_upgrade_config.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora {

/// RHEL-family hosts: the repository file and its key, dnf-automatic, and the drop-ins of its timer.
///
/// All state lies on the host's disk; every call looks at it afresh.
class PACKAGE_MINDER_EXPORT DNF_Package_Config : public Package_Config {
 public:
  /// Keeps the services and copies of both records, and renders the repository file and the drop-ins into the
  /// staging directory.
  ///
  /// @throws what `Template_Manager::generate_file` throws.
  DNF_Package_Config(std::shared_ptr<Filesystem> filesystem, std::shared_ptr<System> system,
                     const boost::filesystem::path& staging_directory, const DNF_Repo_Config& repo_config,
                     const DNF_Unattended_Upgrade_Config& unattended_upgrade_config);

  Package_Config_Type type() const override;

  /// Installs the repository file where base URL, throttle or key URL differ (other options in it are the
  /// administrator's), then imports the repository's key. A failed import is not reported: the next
  /// reconciliation tries again.
  ///
  /// @throws Internal_Error<std::runtime_error> when the file cannot be installed; the key is not imported
  /// then.
  void setup_repo_if_necessary() override;

  /// Installs dnf-automatic if it is missing, then initialises the upgrade timer.
  ///
  /// @throws Internal_Error<std::runtime_error> naming the step that failed.
  void setup_unattended_upgrades_if_necessary() override;

  /// Restores the timer; dnf-automatic stays installed.
  void purge_unattended_upgrade_configuration() override;

  /// Removes the repository file, then purges the automatic-upgrade configuration. The imported key stays. A
  /// removal that fails is not reported.
  void purge_all_configurations() override;

 private:
  void generate_files_from_templates_(const boost::filesystem::path& staging_directory);

  bool verify_repo_file_();
  void install_repo_file_if_necessary_();
  bool remove_repo_file_if_necessary_();
  void import_repo_gpg_key_();
  void install_dnf_automatic_if_necessary_();

  zant::logging::Source log_;
  std::shared_ptr<Filesystem> filesystem_;
  std::shared_ptr<System> system_;
  DNF_Repo_Config repo_config_;
  DNF_Unattended_Upgrade_Config unattended_upgrade_config_;
};

}  // namespace zant::velmora
