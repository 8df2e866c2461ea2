#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <boost/filesystem/path.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Poco::Util {
class LayeredConfiguration;
}

namespace zant::velmora {

/// How the host's unattended-upgrades service is to be configured for the product. Worked out once, at
/// construction.
class PACKAGE_MINDER_EXPORT APT_Unattended_Upgrade_Config {
 public:
  /// The three lists name the same files in the same order, paired by index.
  struct Service {
    std::vector<boost::filesystem::path> backup_files;  ///< where the host's own files are kept meanwhile
    std::vector<boost::filesystem::path> source_files;  ///< shipped or rendered in the staging directory
    std::vector<boost::filesystem::path> target_files;  ///< where APT reads them
    std::string origins_pattern;   ///< APT configuration values, each quoted and ended by ";"
    std::int32_t bandwidth_limit;  ///< kB/s
  };

  /// Reads "package.apt.repo.origins_pattern" and "package.apt.repo.bandwidth_limit".
  ///
  /// @param templates_dir  the staging directory.
  /// @param timer_manager  may be empty: the timer is then left alone.
  /// @param enabled        whether automatic upgrades are to be set up at all.
  /// @throws Poco::SyntaxException for a bandwidth limit that is no number.
  APT_Unattended_Upgrade_Config(const Poco::Util::LayeredConfiguration& config,
                                const boost::filesystem::path& templates_dir,
                                std::shared_ptr<Upgrade_Timer_Manager> timer_manager, bool enabled);

  Service service;
  std::shared_ptr<Upgrade_Timer_Manager> timer_manager;
  bool enabled;

 private:
  static Service generate_service_(const Poco::Util::LayeredConfiguration& config,
                                   const boost::filesystem::path& templates_dir);
  static std::vector<boost::filesystem::path> make_service_file_paths_(const boost::filesystem::path& dir);
  static std::string build_origins_pattern_(const Poco::Util::LayeredConfiguration& config);
};

}  // namespace zant::velmora
