#pragma once

#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/staging/keyring.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// The state in the text form that Prometheus reads.
///
/// @param keys those of the repository's keyring, as far as they are known.
std::string metrics_text(const Cycle_State& state, const std::vector<Signing_Key>& keys);

}  // namespace zant::velmora_host
