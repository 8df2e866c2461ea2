#pragma once

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/families/host_kind.hpp>
#include <zant/velmora_host/reports/planning_filesystem.hpp>
#include <zant/velmora_host/reports/planning_system.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What a command of the program would do to the host, found out by letting the library work on services that
/// change nothing.
struct Plan {
  enum class Operation { CYCLE, PURGE, PURGE_UPGRADES };
  enum class Outcome {
    IN_STEP,  ///< nothing would be changed
    CHANGES,
    FAILS,  ///< what would be changed up to the failure is listed
  };

  Operation operation = Operation::CYCLE;
  std::vector<Planned_Command> commands;
  std::vector<File_Change> files;
  bool removes_own_files = false;      ///< the state directory's contents go too
  std::optional<std::string> failure;  ///< why it would not come to its end
  std::optional<bool> is_held;         ///< the package; empty when nobody asked or nobody can tell

  bool has_changes() const;
  Outcome outcome() const;
};

/// Works the plan out. Needs as much of the network as the library's queries: none on an APT host.
///
/// @throws Refusal on a host that cannot be minded.
Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services);

json_document::Json to_json(const Plan& plan);

/// For a person.
std::string to_text(const Plan& plan);

}  // namespace zant::velmora_host
