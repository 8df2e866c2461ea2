#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/disk_room.hpp>
#include <zant/velmora_host/families/apt/dpkg_state.hpp>
#include <zant/velmora_host/families/apt/upgrade_units.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// What APT and unattended-upgrade would do with the newest version, or with the next one when the newest is
/// installed.
struct Upgrade_Trial {
  std::string index;    ///< where APT keeps the repository's list of packages; empty when it asks for none
  std::string offered;  ///< the newest version in it
  bool newer_is_offered = false;
  bool is_downloaded = false;  ///< the newer version lies on the host
  Needed_Room room;

  /// When the days of upgrades allow it, later than the next run.
  std::optional<std::chrono::system_clock::time_point> next_run;

  Causes causes;
};

/// @param configuration a file of APT settings for questions, which win over the host's. A directory of lists
/// with
///                      one more version is named in it afterwards.
/// @param archives      a private directory where a package may lie.
Upgrade_Trial try_upgrade(const Outlook_Question& question, const boost::filesystem::path& configuration,
                          const APT_Settings& settings, const Installed_Package& installed,
                          const Upgrade_Units& units, const boost::filesystem::path& archives);

/// Whether the package of a version, which lies in `archives`, would ask about a file of configuration.
Causes find_conffile_prompt(const Outlook_Question& question, const boost::filesystem::path& configuration,
                            const std::string& version, const boost::filesystem::path& archives);

}  // namespace zant::velmora_host::apt_outlook
