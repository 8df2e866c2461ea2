#include <program/report_commands.hpp>

#include <program/exit_status.hpp>
#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/host_kind.hpp>
#include <zant/velmora_host/reports/check.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/status.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

namespace zant::program::report_commands {
namespace {

template <typename Report>
void print(const Report& report, bool as_json) {
  std::cout << (as_json ? velmora_host::json_document::text_of(to_json(report)) : to_text(report))
            << std::flush;
}

velmora_host::Plan::Operation operation_of(const Command_Line& command_line) {
  if (command_line.command != Command::PURGE) {
    return velmora_host::Plan::Operation::CYCLE;
  }
  return command_line.upgrades_only ? velmora_host::Plan::Operation::PURGE_UPGRADES
                                    : velmora_host::Plan::Operation::PURGE;
}

bool needs_keyring(velmora_host::Plan::Operation operation, velmora::Filesystem& filesystem) {
  return operation == velmora_host::Plan::Operation::CYCLE &&
         velmora_host::find_host_kind(filesystem).family == velmora::Package_Config_Type::APT;
}

bool are_about_settings(const velmora_host::Findings& findings) {
  return !findings.empty() &&
         std::none_of(findings.begin(), findings.end(), [](const velmora_host::Finding& finding) {
           return finding.code == velmora_host::Finding_Code::UNREADABLE_SETTINGS;
         });
}

// With unusable settings nothing else can be checked.
velmora_host::Check_Report find_all(const velmora_host::Settings_Sources& sources) {
  try {
    const velmora_host::Settings settings(sources);
    return velmora_host::make_check_report(settings, velmora_host::make_host_services(settings));
  } catch (const velmora_host::Refusal& refusal) {
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

int exit_status_of(const velmora_host::Plan& plan) {
  switch (plan.outcome()) {
    case velmora_host::Plan::Outcome::IN_STEP:
      return Exit_Status::DONE;
    case velmora_host::Plan::Outcome::CHANGES:
      return Exit_Status::PENDING;
    case velmora_host::Plan::Outcome::FAILS:
      break;
  }
  return Exit_Status::FAILED;
}

}  // namespace

int status(const Command_Line& command_line, const velmora_host::Settings& settings,
           const velmora_host::Host_Services& services) {
  print(velmora_host::make_status(settings, services), command_line.json);
  return Exit_Status::DONE;
}

int plan(const Command_Line& command_line, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services) {
  const velmora_host::Plan::Operation operation = operation_of(command_line);
  if (needs_keyring(operation, *services.filesystem)) {
    velmora_host::refuse_if_any(velmora_host::find_keyring_faults(settings.staging_directory()));
  }
  const velmora_host::Plan report = velmora_host::make_plan(operation, settings, services);
  print(report, command_line.json);
  return exit_status_of(report);
}

int check(const Command_Line& command_line) {
  const velmora_host::Check_Report report = find_all(command_line.settings);
  print(report, command_line.json);
  return report.findings.empty() ? Exit_Status::DONE : Exit_Status::FINDINGS;
}

void print_failure(const Command_Line& command_line, int exit_status,
                   const std::vector<std::string>& messages) {
  if (command_line.json) {
    const auto document = velmora_host::json_document::make_failure(
        kind_of(command_line.command), Exit_Status::code_of(exit_status), exit_status, messages);
    std::cout << velmora_host::json_document::text_of(document) << std::flush;
  }
}

}  // namespace zant::program::report_commands
