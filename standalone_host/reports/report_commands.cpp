#include <standalone_host/reports/report_commands.hpp>

#include <standalone_host/exit_status.hpp>
#include <standalone_host/refusal.hpp>
#include <standalone_host/reports/check.hpp>
#include <standalone_host/reports/document.hpp>
#include <standalone_host/reports/host_kind.hpp>
#include <standalone_host/reports/plan.hpp>
#include <standalone_host/reports/status.hpp>
#include <standalone_host/staging_tree.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

namespace zant::velmora::standalone_host::Report_Commands {
namespace {

template <typename Report>
void print(const Report& report, bool as_json) {
  std::cout << (as_json ? Document::text_of(to_json(report)) : to_text(report)) << std::flush;
}

Plan::Operation operation_of(const Command_Line& command_line) {
  if (command_line.command != Command::PURGE) {
    return Plan::Operation::CYCLE;
  }
  return command_line.upgrades_only ? Plan::Operation::PURGE_UPGRADES : Plan::Operation::PURGE;
}

bool needs_keyring(Plan::Operation operation, Filesystem& filesystem) {
  return operation == Plan::Operation::CYCLE && find_host_kind(filesystem).family == Package_Config_Type::APT;
}

bool are_about_settings(const Findings& findings) {
  return !findings.empty() && std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.code == Finding_Code::UNREADABLE_SETTINGS;
  });
}

// With settings that nobody can work with there is nothing else to look at.
Check_Report find_all(const Settings_Sources& sources) {
  try {
    const Settings settings(sources);
    return make_check_report(settings, make_host_services(settings));
  } catch (const Refusal& refusal) {
    if (!are_about_settings(refusal.findings())) {
      throw;
    }
    return {refusal.findings(), {{"host", "the staging tree and the host", "the settings are not usable"}}};
  }
}

const char* kind_of(Command command) {
  switch (command) {
    case Command::STATUS:
      return "status";
    case Command::CHECK:
      return "check";
    default:
      return "plan";
  }
}

}  // namespace

int status(const Command_Line& command_line, const Settings& settings, const Host_Services& services) {
  print(make_status(settings, services), command_line.json);
  return Exit_Status::DONE;
}

int plan(const Command_Line& command_line, const Settings& settings, const Host_Services& services) {
  const Plan::Operation operation = operation_of(command_line);
  if (needs_keyring(operation, *services.filesystem)) {
    refuse_if_any(find_keyring_faults(settings.staging_directory()));
  }
  const Plan report = make_plan(operation, settings, services);
  print(report, command_line.json);
  return exit_status_of(report);
}

int check(const Command_Line& command_line) {
  const Check_Report report = find_all(command_line.settings);
  print(report, command_line.json);
  return report.findings.empty() ? Exit_Status::DONE : Exit_Status::FINDINGS;
}

void print_failure(const Command_Line& command_line, int exit_status,
                   const std::vector<std::string>& messages) {
  if (command_line.json) {
    const auto document = Document::make_failure(kind_of(command_line.command), exit_status, messages);
    std::cout << Document::text_of(document) << std::flush;
  }
}

}  // namespace zant::velmora::standalone_host::Report_Commands
