#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <set>
#include <string>

namespace zant::velmora_host {

/// Whether the next cycle puts it right: it registers the repository, starts the timers and releases the
/// package.
bool is_for_cycle(const Cause& cause);

/// Marks the causes with these codes as causes of the host's configuration, but for those that the next cycle
/// puts right.
void mark_configured(Causes& causes, const std::set<std::string>& codes);

}  // namespace zant::velmora_host
