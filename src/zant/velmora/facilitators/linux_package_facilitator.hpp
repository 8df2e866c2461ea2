#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/init.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// Builds the package configuration and the package that fit a Linux host.
///
/// Catches nothing: what the host's services and the settings throw passes through.
class PACKAGE_MINDER_EXPORT Linux_Package_Facilitator {
 public:
  /// Keeps the services and detects the package-manager family from "/etc/os-release". Runs no command.
  ///
  /// @param config            kept alive by the host for the facilitator's whole life.
  /// @param staging_directory holds the templates and static files; rendered files are written below it.
  Linux_Package_Facilitator(std::shared_ptr<Filesystem> filesystem, std::shared_ptr<System> system,
                            const Poco::Util::LayeredConfiguration& config,
                            const boost::filesystem::path& staging_directory);

  /// Builds the configuration of the detected family from the settings; this renders its files into the
  /// staging directory. Each call builds an independent one.
  ///
  /// @param automatic_upgrades whether the host's automatic upgrades are to be set up.
  /// @return empty on a host without a supported package manager.
  std::shared_ptr<Package_Config> create_package_config(bool automatic_upgrades) const;

  /// Builds the package over a configuration of the detected family.
  ///
  /// @throws Backend_Error<std::runtime_error> "Invalid package configuration" for an empty pointer or a
  ///         configuration of another family.
  std::shared_ptr<Package> create_package(std::shared_ptr<Package_Config> config) const;

 private:
  struct Create_Timer_Config_Params {
    std::string key_prefix;
    std::string override_dir;
    std::string staging_dir;
    std::string on_calendar_file;
    std::string randomized_delay_file;
  };

  Package_Config_Type find_package_config_type_() const;
  Init get_system_init_() const;
  std::shared_ptr<Package_Config> create_apt_package_config_(bool automatic_upgrades) const;
  std::shared_ptr<Package_Config> create_dnf_package_config_(bool automatic_upgrades) const;
  Upgrade_Timer_Manager::Timer_Config create_timer_config() const;
  Upgrade_Timer_Manager::Timer_Config create_timer_config_(const Create_Timer_Config_Params& params) const;

  std::shared_ptr<Filesystem> filesystem_;
  std::shared_ptr<System> system_;
  const Poco::Util::LayeredConfiguration& config_;
  boost::filesystem::path staging_directory_;
  Package_Config_Type package_config_type_;
};

}  // namespace zant::velmora
