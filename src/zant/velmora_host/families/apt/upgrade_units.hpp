#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <chrono>
#include <optional>

namespace zant::velmora_host::apt_outlook {

/// What starts the host's refreshes and upgrades.
struct Upgrade_Units {
  std::optional<std::chrono::system_clock::time_point> next_refresh;
  std::optional<std::chrono::system_clock::time_point> next_run;
  std::optional<std::chrono::system_clock::time_point> last_refresh;  ///< when it began

  /// When the timer of the refreshes last fired, before the host started, too.
  std::optional<std::chrono::system_clock::time_point> refresh_triggered;

  std::optional<Upgrade_Run> last_run;
  bool is_running = false;  ///< a refresh or an upgrade is going on
  Causes causes;
};

/// The two timers and services of APT's, as systemd has them.
Upgrade_Units find_upgrade_units(const Outlook_Question& question);

/// The daily job of cron, on a host without systemd.
Upgrade_Units find_cron_job(const Outlook_Question& question);

}  // namespace zant::velmora_host::apt_outlook
