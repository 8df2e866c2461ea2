#pragma once

#include <zant/velmora/export.hpp>

#include <string>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// Where the product's Chocolatey packages come from. Worked out once, at construction.
class PACKAGE_MINDER_EXPORT Choco_Repo_Config {
 public:
  /// Reads "package.choco.repo.source_location", taken as it is, or else "package.choco.repo.channel".
  explicit Choco_Repo_Config(const Poco::Util::LayeredConfiguration& config);

  std::string source_location;

 private:
  static std::string generate_source_location_(const Poco::Util::LayeredConfiguration& config);
};

}  // namespace zant::velmora
