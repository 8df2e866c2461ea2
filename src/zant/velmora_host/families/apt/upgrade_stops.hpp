#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/upgrade_units.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <optional>

namespace zant::velmora_host::apt_outlook {

/// What has unattended-upgrade end at once, whatever there is to upgrade.
struct Upgrade_Stops {
  /// When the days of upgrades allow it, later than the next run.
  std::optional<std::chrono::system_clock::time_point> next_run;

  Causes causes;
};

/// @param answer of the program that asks unattended-upgrade, with its "days"
Upgrade_Stops find_upgrade_stops(const APT_Settings& settings, const Upgrade_Units& units,
                                 const nlohmann::json& answer);

}  // namespace zant::velmora_host::apt_outlook
