#pragma once

#include <zant/velmora_host/families/apt/upgrade_log.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>

namespace zant::velmora_host::apt_outlook {

/// Why the last run of unattended-upgrade did not install a version that it tried to, from its own logs.
///
/// @param offered       a version newer than the installed one.
/// @param is_downloaded whether its package lies on the host: what it asks is then known better than from a
/// log.
Causes find_failed_upgrade(const Outlook_Question& question, const Upgrade_Log& log,
                           const std::string& offered, bool is_downloaded);

}  // namespace zant::velmora_host::apt_outlook
