#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <vector>

namespace zant::velmora_host {

/// Makes the library's objects for the kind of host that this is.
class Package_Factory {
 public:
  virtual ~Package_Factory() = default;

  /// Renders the host's files into the staging directory, and changes nothing else. Empty when the host has
  /// no package manager that the library knows.
  virtual std::shared_ptr<velmora::Package_Config> create_package_config(bool automatic_upgrades) const = 0;

  virtual std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const = 0;
};

/// What keeps the program from working on a host of this kind with these settings. Changes nothing.
Findings find_host_faults(const Settings& settings);

/// Makes a directory, which is not there yet, with what the library's objects read: a copy of the staging
/// tree, or nothing on a host where no files are rendered.
///
/// @throws std::runtime_error that says what could not be done; what has been done stays.
void make_staging_directory(const Settings& settings, const boost::filesystem::path& directory);

/// The real services of this operating system.
Host_Services make_host_services(const Settings& settings);

/// The factory for this operating system.
///
/// @param settings outlives the factory and what it makes.
std::unique_ptr<Package_Factory> make_package_factory(const Host_Services& services, const Settings& settings,
                                                      const boost::filesystem::path& staging_directory);

/// What the library leaves on a host until it is purged; all families' together.
struct Installed_Paths {
  std::vector<boost::filesystem::path> repository;  ///< what registers the repository
  std::vector<boost::filesystem::path>
      upgrades;  ///< what automatic upgrades need, beside the host's own files
};
Installed_Paths installed_paths();

/// Takes away what killed processes of this program left in the host's directories. Only while no other
/// process of this program works.
void remove_interrupted_writes(velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
