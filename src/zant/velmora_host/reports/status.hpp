#pragma once

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/families/host_kind.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// How things stand on a host.
struct Status {
  enum class Hold { NOT_HELD, HELD, UNKNOWN };

  /// A file that the next cycle would change.
  struct Drifted_File {
    std::string path;
    std::string code;  ///< "missing", "differs" or "not_wanted"
  };

  /// Something that wants attention.
  struct Reason {
    std::string code;  ///< for programs, "TOPIC.STATE"
    std::string message;
  };

  Host_Kind host{};
  std::string service_state;      ///< as systemd names it; "unknown" without systemd
  std::string installed_version;  ///< empty when the package is not installed
  std::string offered_version;    ///< empty when no repository offers it
  bool repository_is_registered = false;
  std::vector<Drifted_File> drifted_repository_files;
  Hold hold = Hold::UNKNOWN;
  bool upgrades_are_wanted = false;
  std::vector<Drifted_File> drifted_upgrade_files;
  std::vector<std::string> upgrade_commands;  ///< that the next cycle would run for them
  std::string timer;
  bool timer_is_running = false;
  std::string next_run;  ///< of the timer, as systemd writes it; empty when it has none
  std::optional<Cycle_State> cycles;
  std::vector<Reason> reasons;
};

/// Looks at the host. Changes nothing; needs no network on an APT host.
///
/// @throws Refusal on a host that cannot be minded.
Status make_status(const Settings& settings, const Host_Services& services);

json_document::Json to_json(const Status& status);

/// One page for a person.
std::string to_text(const Status& status);

}  // namespace zant::velmora_host
