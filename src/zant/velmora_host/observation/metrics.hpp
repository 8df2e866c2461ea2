#pragma once

#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/staging/keyring.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The state in the text form that Prometheus reads.
///
/// @param verdict the last one; nothing before the first.
/// @param is_installation_stalled see `Stalled_Installation`.
/// @param keys    that packages of the repository are checked with, as far as they are known.
std::string metrics_text(const Cycle_State& state, const std::optional<Verdict>& verdict,
                         const std::vector<Signing_Key>& keys, bool is_installation_stalled,
                         std::chrono::system_clock::time_point now);

}  // namespace zant::velmora_host
