#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <zant/velmora/host/system.hpp>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host::dnf_outlook {

/// The timer and the service of the host's own upgrades, as systemd has them.
struct Upgrade_Units {
  using Properties = std::map<std::string, std::string>;

  Properties timer;
  Properties service;

  /// What systemd says of a condition that keeps it from starting one now; empty where none does.
  std::string timer_condition;
  std::string service_condition;

  /// The first number of /proc/uptime, which systemd counts some times from; 0 when it is not known.
  std::chrono::seconds uptime{0};
};

/// What systemd says of both; nothing when it does not answer.
std::optional<Upgrade_Units> ask_for_upgrade_units(velmora::System& system);

/// What keeps the units from starting an upgrade.
///
/// @param are_wanted whether package-minder is to keep automatic upgrades running.
Causes find_unit_causes(const Upgrade_Units& units, bool are_wanted,
                        std::chrono::system_clock::time_point now);

/// What an administrator's files make the service do otherwise, where that is not known to be harmless.
std::optional<Cause> find_service_change(const Upgrade_Units& units, Host_Filesystem& filesystem);

/// The words with which the service starts dnf-automatic, the program first; nothing when it starts something
/// else.
std::optional<std::vector<std::string>> words_of_automatic(const Upgrade_Units& units);

/// Whether a run is going on.
bool is_upgrading(const Upgrade_Units& units);

std::optional<std::chrono::system_clock::time_point> next_run_of(const Upgrade_Units& units,
                                                                 std::chrono::system_clock::time_point now);

/// Since when the timer has been running.
std::optional<std::chrono::system_clock::time_point> timer_start_of(const Upgrade_Units& units);

std::optional<Upgrade_Run> last_run_of(const Upgrade_Units& units);

}  // namespace zant::velmora_host::dnf_outlook
