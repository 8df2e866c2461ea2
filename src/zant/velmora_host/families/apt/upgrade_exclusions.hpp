#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace zant::velmora_host::apt_outlook {

/// The setting that names packages which unattended-upgrade leaves alone.
constexpr const char* BLACKLIST = "Unattended-Upgrade::Package-Blacklist";

/// Origins and lists of packages that keep unattended-upgrade from the package.
/// @param answer of the program that asks it, with its "origins" and "lists"
Causes find_exclusions(const Outlook_Question& question, const APT_Settings& settings,
                       const nlohmann::json& answer);

/// Which of them unattended-upgrade cannot read, where it ended with `crash`.
Cause explain_crash(const APT_Settings& settings, const nlohmann::json& answer, const std::string& crash);

}  // namespace zant::velmora_host::apt_outlook
