#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/report_output.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/reports/check.hpp>

#include <algorithm>

namespace zant::program {
namespace {

using velmora_host::Check_Report;
using velmora_host::Finding;
using velmora_host::Refusal;

bool are_about_settings(const velmora_host::Findings& findings) {
  return !findings.empty() && std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.code == velmora_host::Finding_Code::UNREADABLE_SETTINGS;
  });
}

// With settings that nobody can work with there is nothing else to look at.
Check_Report find_all(const Invocation& invocation, const Service_Maker& make_services) {
  try {
    const velmora_host::Settings settings(invocation.settings);
    return make_check_report(settings, make_services(settings), invocation.online);
  } catch (const Refusal& refusal) {
    if (!are_about_settings(refusal.findings())) {
      throw;
    }
    return {refusal.findings(), {{"host", "the staging tree and the host", "the settings are not usable"}}};
  }
}

}  // namespace

int check(const Invocation& invocation, const Service_Maker& make_services) {
  const Check_Report report = find_all(invocation, make_services);
  print_report(report, invocation.json);
  return report.findings.empty() ? Exit_Status::DONE : Exit_Status::FINDINGS;
}

}  // namespace zant::program
