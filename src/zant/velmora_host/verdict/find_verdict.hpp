#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/services/interruptible_system.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

namespace zant::velmora_host {

/// Whether the package upgrades on this host. Changes nothing; what the tools must write goes into a
/// temporary directory. A question that fails, or takes longer than it may, is a cause: nothing is thrown.
///
/// @param history what is remembered of the host's upgrades.
/// @param online  whether the repository itself may be asked. Otherwise no network is used.
/// @param bounds  of all that is asked.
/// @param planned see `Outlook_Question`.
Verdict find_verdict(const Minded_Host& host, const Upgrade_History& history, bool online,
                     const Command_Bounds& bounds, const Planned_Files& planned = {});

}  // namespace zant::velmora_host
