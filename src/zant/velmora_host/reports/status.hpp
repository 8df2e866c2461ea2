#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/families/package_state.hpp>
#include <zant/velmora_host/observation/cycle_record.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <zant/velmora/package_minder/init.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// How things stand on a host.
struct Status {
  /// How a file differs from what the next cycle would make of it.
  enum class Drift {
    MISSING,
    DIFFERS,
    NOT_WANTED,  ///< it would be removed
  };

  /// A file that the next cycle would change.
  struct Drifted_File {
    std::string path;
    Drift drift;
  };

  /// Something that needs attention.
  struct Reason {
    std::string code;  ///< for programs, "TOPIC.STATE"
    std::string message;
  };

  std::string family;  ///< the package manager's, as reports name it
  velmora::Init init{};
  std::string service_state;  ///< as systemd names it; "unknown" without systemd
  Verdict verdict;
  std::chrono::seconds overdue_after{};  ///< of the settings
  Package_Versions versions;             ///< empty where they are not known
  bool is_plan_known =
      true;  ///< false: the host's tools did not answer in time, and nothing is known of drift
  bool repository_is_registered = false;
  std::vector<Drifted_File> drifted_repository_files;
  Hold_State hold = Hold_State::UNKNOWN;
  bool upgrades_are_wanted = false;
  std::vector<Drifted_File> drifted_upgrade_files;
  std::vector<std::string> upgrade_commands;  ///< that the next cycle would run for them
  std::string timer;                          ///< empty where no systemd timer starts upgrades
  bool is_timer_known = true;                 ///< false: systemd did not answer in time
  bool timer_is_running = false;
  bool timer_is_enabled = false;  ///< it starts with the host
  std::string next_run;           ///< of the timer, in UTC, "2026-01-31T03:00:00Z"; empty when it has none
  std::optional<Cycle_State> cycles;
  std::optional<Stalled_Installation> stalled_installation;  ///< while it goes on
  std::vector<Reason> reasons;
};

/// The systemd service of the program package-minder.
inline constexpr const char* PROGRAM_SERVICE = "package-minder";

/// Looks at the host, in less than 10 seconds. Changes nothing; needs no network on an APT host.
///
/// @param service the systemd service that minds on this host.
/// @throws Refusal on a host that cannot be minded.
PACKAGE_MINDER_HOST_EXPORT Status make_status(const Settings& settings, const Host_Services& services,
                                              const std::string& service = PROGRAM_SERVICE);

/// The document for programs, as JSON text.
PACKAGE_MINDER_HOST_EXPORT std::string to_json_text(const Status& status);

/// One page for a person.
PACKAGE_MINDER_HOST_EXPORT std::string to_text(const Status& status);

}  // namespace zant::velmora_host
