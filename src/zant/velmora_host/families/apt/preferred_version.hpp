#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json_fwd.hpp>

namespace zant::velmora_host::apt_outlook {

/// What has APT prefer another version than the judged one, and holds.
/// @param answer of the program that asks APT, with its "policy" and the "judged" version
Causes find_other_preference(const Outlook_Question& question, const APT_Settings& settings,
                             const nlohmann::json& answer);

}  // namespace zant::velmora_host::apt_outlook
