#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/init.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// What registers the product's repository with APT: which keyring goes where, which source list goes where,
/// and the values in it. Worked out once, at construction.
class PACKAGE_MINDER_EXPORT APT_Repo_Config {
 public:
  struct Keyring {
    boost::filesystem::path source;  ///< shipped in the staging directory
    boost::filesystem::path target;  ///< where APT trusts it
  };

  struct Source_List {
    std::string source;   ///< where it is rendered
    std::string target;   ///< where APT reads it
    std::string url;      ///< the repository's URL, as configured or the default
    std::string channel;  ///< the distribution name in the list
    std::string
        architecture;  ///< of the installed package, as dpkg-query prints it; empty when it cannot tell
  };

  /// Reads "package.apt.repo.url" and "package.apt.repo.channel" and asks dpkg for the package's
  /// architecture.
  ///
  /// @param system         used during construction only.
  /// @param templates_dir  the staging directory.
  /// @param init           picks the defaults; not looked at when both settings are there.
  /// @throws Internal_Error<std::logic_error> "Invalid init value" for a value outside the enumeration when
  ///         no channel is set.
  APT_Repo_Config(std::shared_ptr<System> system, const Poco::Util::LayeredConfiguration& config,
                  const boost::filesystem::path& templates_dir, Init init);

  Keyring keyring;
  Source_List source_list;

 private:
  static Keyring generate_keyring_(const boost::filesystem::path& templates_dir);
  static Source_List generate_source_list_(std::shared_ptr<System> system,
                                           const Poco::Util::LayeredConfiguration& config,
                                           const boost::filesystem::path& templates_dir, Init init);
};

}  // namespace zant::velmora
