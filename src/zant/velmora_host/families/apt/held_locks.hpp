#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

namespace zant::velmora_host::apt_outlook {

/// Locks that upgrades need, held by a process for hours, or by one that is no package manager.
Causes find_held_locks(const Outlook_Question& question);

}  // namespace zant::velmora_host::apt_outlook
