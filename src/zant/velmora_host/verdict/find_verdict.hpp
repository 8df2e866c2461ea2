#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <optional>

namespace zant::velmora_host {

/// Whether the package upgrades on this host. Changes nothing; what the tools must write goes into a
/// temporary directory.
///
/// @param history what is remembered of the host's upgrades.
/// @param online  whether the repository itself may be asked. Otherwise no network is used.
Verdict find_verdict(const Minded_Host& host, const Upgrade_History& history, bool online);

}  // namespace zant::velmora_host
