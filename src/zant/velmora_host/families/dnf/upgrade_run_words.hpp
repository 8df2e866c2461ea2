#pragma once

#include <zant/velmora_host/families/dnf/run_preview.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <zant/velmora/host/system.hpp>

#include <optional>
#include <string>

namespace zant::velmora_host::dnf_outlook {

/// What the last run of the upgrade service makes one fear of the next. Nothing when it succeeded and did not
/// stumble over the offered version, nor when its words speak of the network alone and the run before
/// succeeded.
std::optional<Cause> find_cause_of_last_run(velmora::System& system, const Upgrade_Run& run,
                                            const Run_Preview& preview);

}  // namespace zant::velmora_host::dnf_outlook
