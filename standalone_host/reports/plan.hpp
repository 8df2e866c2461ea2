#pragma once

#include <standalone_host/platform/package_factory.hpp>
#include <standalone_host/reports/document.hpp>
#include <standalone_host/reports/host_kind.hpp>
#include <standalone_host/reports/planning_filesystem.hpp>
#include <standalone_host/reports/planning_system.hpp>
#include <standalone_host/settings/settings.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zant::velmora::standalone_host {

/// What a command of the program would do to the host, found out by letting the library work on services that
/// change nothing.
struct Plan {
  enum class Operation { CYCLE, PURGE, PURGE_UPGRADES };

  Operation operation = Operation::CYCLE;
  std::vector<Planned_Command> commands;
  std::vector<File_Change> files;
  bool removes_own_files = false;      ///< the state directory's contents go too
  std::optional<std::string> failure;  ///< why it would not come to its end
  std::optional<bool> is_held;         ///< the package; empty when nobody asked or nobody can tell

  bool has_changes() const;
};

/// Works the plan out. Needs as much of the network as the library's queries: none on an APT host.
///
/// @throws Refusal on a host that cannot be minded.
Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services);

Document::Json to_json(const Plan& plan);

/// For a person.
std::string to_text(const Plan& plan);

/// DONE when there is nothing to do, PENDING when there is, FAILED when the plan is not complete.
int exit_status_of(const Plan& plan);

}  // namespace zant::velmora::standalone_host
