#pragma once

#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora_host {

/// Makes the library's objects for one host.
class Package_Factory {
 public:
  virtual ~Package_Factory() = default;

  /// Renders the host's files into the staging directory, and changes nothing else. Never empty.
  virtual std::shared_ptr<velmora::Package_Config> create_package_config(bool automatic_upgrades) const = 0;

  virtual std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const = 0;
};

}  // namespace zant::velmora_host
