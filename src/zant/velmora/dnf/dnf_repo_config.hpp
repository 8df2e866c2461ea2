#pragma once

#include <zant/velmora/export.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// What registers the product's repository with DNF. Worked out once, at construction; validates nothing.
struct PACKAGE_MINDER_EXPORT DNF_Repo_Config {
  /// Reads the "package.dnf.repo." settings. A set "baseurl" is taken as it is, and "url" and "channel" are
  /// not looked at then.
  DNF_Repo_Config(const Poco::Util::LayeredConfiguration& config,
                  const boost::filesystem::path& staging_directory);

  boost::filesystem::path staged_repo_file;     ///< where it is rendered
  boost::filesystem::path installed_repo_file;  ///< where DNF reads it
  std::string gpg_key_url;
  std::string base_url;
  std::string throttle;  ///< a DNF bandwidth limit such as "500k"
};

}  // namespace zant::velmora
