#include <program/commands/commands.hpp>
#include <program/commands/plan_report.hpp>
#include <program/exit_status.hpp>
#include <program/log/program_log.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

namespace zant::program {
namespace {

using velmora_host::Plan;
using velmora_host::Purge_Scope;
using zant::logging::severity_level;

}  // namespace

int purge(const Invocation& invocation, const velmora_host::Settings& settings,
          const velmora_host::Host_Services& services) {
  if (invocation.on_removal && !settings.purge_on_removal()) {
    return Exit_Status::DONE;
  }
  if (invocation.plan_only) {
    const auto operation =
        invocation.upgrades_only ? Plan::Operation::PURGE_UPGRADES : Plan::Operation::PURGE;
    return print_plan(operation, invocation, settings, services);
  }
  const auto scope = invocation.upgrades_only ? Purge_Scope::UPGRADES : Purge_Scope::EVERYTHING;
  const auto problems = velmora_host::purge(scope, settings, services);
  for (const auto& problem : problems) {
    log_message(severity_level::error, problem);
  }
  if (!problems.empty()) {
    return Exit_Status::FAILED;
  }
  log_message(severity_level::info, invocation.upgrades_only
                                        ? "The automatic upgrades are undone; the repository stays registered"
                                        : "All changes on this host are undone");
  return Exit_Status::DONE;
}

}  // namespace zant::program
