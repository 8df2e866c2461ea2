#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host::dnf_outlook {

/// What the preview of a run found in the way, in words, with the remedy of each.
///
/// @throws nlohmann::json::exception when an obstacle is not as the preview describes them.
Causes causes_from(const std::vector<nlohmann::json>& obstacles);

/// There is no preview, or it says what is not understood.
Cause cause_of_failure(std::string evidence);

}  // namespace zant::velmora_host::dnf_outlook
