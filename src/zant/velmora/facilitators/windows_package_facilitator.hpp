#pragma once

#include <zant/velmora/choco/virtual_choco_exe.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// Builds the package configuration and the package of a Windows host; both share one Chocolatey wrapper.
///
/// Catches nothing: what the host's services and the settings throw passes through.
class PACKAGE_MINDER_EXPORT Windows_Package_Facilitator {
 public:
  /// @param config         kept alive by the host for the facilitator's whole life.
  /// @param base_directory "chocolatey", "choco.exe" below it is the executable; it is not looked for.
  Windows_Package_Facilitator(std::shared_ptr<System> system, const Poco::Util::LayeredConfiguration& config,
                              const boost::filesystem::path& base_directory);

  /// Builds the configuration from the settings; never empty.
  ///
  /// @param automatic_upgrades whether the scheduled upgrade task is to be created.
  std::shared_ptr<Package_Config> create_package_config(bool automatic_upgrades) const;

  /// Builds the package over a Chocolatey configuration.
  ///
  /// @throws Backend_Error<std::runtime_error> "Invalid package configuration" for an empty pointer or a
  ///         configuration of another family.
  std::shared_ptr<Package> create_package(std::shared_ptr<Package_Config> config) const;

 private:
  std::shared_ptr<System> system_;
  std::shared_ptr<Virtual_Choco_Exe> choco_exe_;
  const Poco::Util::LayeredConfiguration& config_;
};

}  // namespace zant::velmora
