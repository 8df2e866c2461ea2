#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>

namespace zant::velmora_host::apt_outlook {

/// The package as dpkg has it.
struct Installed_Package {
  std::string version;  ///< empty when it is not installed, or dpkg does not tell
  std::string architecture;
  Causes causes;
};

Installed_Package find_installed_package(const Outlook_Question& question);

/// Why dpkg cannot begin to install anything; it is asked to unpack an empty file without acting.
Causes find_dpkg_faults(const Outlook_Question& question);

/// A dpkg whose configuration has it act on nothing, which neither it nor APT says. It is asked to write into
/// a database of its own.
Causes find_simulating_dpkg(const Outlook_Question& question);

/// What an interrupted dpkg has left, and packages that it has not finished.
Causes find_interrupted_work(const Outlook_Question& question);

}  // namespace zant::velmora_host::apt_outlook
