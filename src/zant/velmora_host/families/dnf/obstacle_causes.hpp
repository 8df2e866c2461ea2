#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json_fwd.hpp>

#include <vector>

namespace zant::velmora_host::dnf_outlook {

/// What the preview of a run found in the way, in words, with the remedy of each.
///
/// @throws nlohmann::json::exception when an obstacle is not as the preview describes them.
Causes causes_from(const std::vector<nlohmann::json>& obstacles);

}  // namespace zant::velmora_host::dnf_outlook
