#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host::apt_outlook {

/// Where unattended-upgrade writes what it does.
struct Upgrade_Log {
  boost::filesystem::path directory = "/var/log/unattended-upgrades";
  boost::filesystem::path file = directory / "unattended-upgrades.log";
  boost::filesystem::path dpkg_file = directory / "unattended-upgrades-dpkg.log";
};

/// As APT's settings have it.
Upgrade_Log upgrade_log_of(const APT_Settings& settings);

/// A log that unattended-upgrade cannot open: it then ends at once. What stands in the place of its directory
/// or of one of its files, or a file in a directory that is not there. A missing directory it makes itself.
Causes find_unusable_log(const Outlook_Question& question, const APT_Settings& settings);

}  // namespace zant::velmora_host::apt_outlook
