#include <program/commands/commands.hpp>
#include <program/commands/plan_report.hpp>
#include <program/exit_status.hpp>
#include <program/report_output.hpp>

namespace zant::program {
namespace {

using velmora_host::Plan;

int exit_status_of(const Plan& report) {
  switch (report.outcome()) {
    case Plan::Outcome::IN_STEP:
      return Exit_Status::DONE;
    case Plan::Outcome::CHANGES:
      return Exit_Status::PENDING;
    case Plan::Outcome::FAILS:
      break;
  }
  return Exit_Status::FAILED;
}

}  // namespace

int print_plan(Plan::Operation operation, const Invocation& invocation,
               const velmora_host::Settings& settings, const velmora_host::Host_Services& services) {
  const Plan report = make_plan(operation, settings, services);
  print_report(report, invocation.json);
  return exit_status_of(report);
}

int plan(const Invocation& invocation, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services) {
  return print_plan(Plan::Operation::CYCLE, invocation, settings, services);
}

}  // namespace zant::program
