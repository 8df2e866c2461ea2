#pragma once

#include <standalone_host/platform/package_factory.hpp>
#include <standalone_host/settings/settings.hpp>

#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora::standalone_host {

/// The library's objects over a staging directory, in the order in which they depend on each other.
class Minding {
 public:
  /// Renders the host's files into the staging directory.
  ///
  /// @throws Refusal on a host without a package manager that the library knows.
  Minding(const Host_Services& services, const Settings& settings,
          const boost::filesystem::path& staging_directory);

  Package_Config& config() const { return *config_; }
  std::shared_ptr<Package> create_package() const { return factory_->create_package(config_); }

 private:
  std::unique_ptr<Package_Factory> factory_;
  std::shared_ptr<Package_Config> config_;
};

}  // namespace zant::velmora::standalone_host
