#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/families/command_traits.hpp>
#include <zant/velmora_host/families/displaced_setting.hpp>
#include <zant/velmora_host/families/package_state.hpp>
#include <zant/velmora_host/reports/file_change.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A command that was asked for and not run.
struct Planned_Command {
  std::string line;
  Command_Kind kind;
  bool is_noop;  ///< the library repeats it in every cycle, and this time it would change nothing
};

/// What would be done to the host, found out by letting the library work on services that change nothing.
struct PACKAGE_MINDER_HOST_EXPORT Plan {
  enum class Operation { CYCLE, PURGE, PURGE_UPGRADES };
  enum class Outcome {
    IN_STEP,  ///< nothing would be changed
    CHANGES,
    FAILS,  ///< what would be changed up to the failure is listed
  };

  Operation operation = Operation::CYCLE;
  std::vector<Planned_Command> commands;
  std::vector<File_Change> files;

  /// What goes out of force with the host's own files that the first cycle replaces. It returns with a purge.
  std::vector<Displaced_Setting> displaced_settings;

  bool removes_own_files = false;      ///< the state directory's contents go too
  std::optional<std::string> failure;  ///< why it would not come to its end
  bool is_incomplete = false;  ///< the host's tools did not answer in time: what is listed may be wrong
  Hold_State hold = Hold_State::UNKNOWN;

  bool has_changes() const;
  Outcome outcome() const;
};

/// Works the plan out, in less than 10 seconds. Needs as much of the network as the library's queries: none
/// on an APT host.
///
/// @throws Refusal on a host that cannot be minded.
PACKAGE_MINDER_HOST_EXPORT Plan make_plan(Plan::Operation operation, const Settings& settings,
                                          const Host_Services& services);

/// The document for programs, as JSON text.
PACKAGE_MINDER_HOST_EXPORT std::string to_json_text(const Plan& plan);

/// For a person.
PACKAGE_MINDER_HOST_EXPORT std::string to_text(const Plan& plan);

}  // namespace zant::velmora_host
