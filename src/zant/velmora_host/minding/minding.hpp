#pragma once

#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora_host {

/// The library's objects over a staging directory, in the order in which they depend on each other.
class Minding {
 public:
  /// Renders the host's files into the staging directory.
  ///
  /// @throws Refusal on a host without a package manager that the library knows.
  Minding(const Host_Services& services, const Settings& settings,
          const boost::filesystem::path& staging_directory);

  velmora::Package_Config& config() const { return *config_; }
  std::shared_ptr<velmora::Package> create_package() const { return factory_->create_package(config_); }

 private:
  std::unique_ptr<Package_Factory> factory_;
  std::shared_ptr<velmora::Package_Config> config_;
};

}  // namespace zant::velmora_host
