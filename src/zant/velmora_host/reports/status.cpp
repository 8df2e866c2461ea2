#include <zant/velmora_host/reports/status.hpp>

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/families/systemd_commands.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/observation/stalled_installation.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/staging/work_area.hpp>
#include <zant/velmora_host/verdict/find_verdict.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <chrono>
#include <regex>

namespace zant::velmora_host {
namespace {

using velmora::Package_Constants::PACKAGE_NAME;

// So that a verdict which takes long leaves time for the rest.
constexpr auto VERDICT_LIMIT = std::chrono::seconds(5);

constexpr const char* SERVICE_STATE_QUERY = "systemctl is-active {}.service 2> /dev/null";
constexpr const char* TIMER_STATE_QUERY = "systemctl is-active --quiet {}";
// The time comes as text, in the zone of whoever asks.
constexpr const char* NEXT_RUN_QUERY =
    "TZ=UTC systemctl show --property=NextElapseUSecRealtime --value {} 2> /dev/null";

std::string output_of(velmora::System& system, const std::string& command) {
  return boost::algorithm::trim_copy(system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE).output);
}

// "Sat 2026-11-21 03:00:00 UTC".
std::string iso_time_in(const std::string& text) {
  static const std::regex time("(\\d{4}-\\d{2}-\\d{2}) (\\d{2}:\\d{2}:\\d{2}) UTC");
  std::smatch match;
  return std::regex_search(text, match, time) ? fmt::format("{}T{}Z", match.str(1), match.str(2)) : "";
}

void find_service_and_timer(const Minded_Host& host, const std::string& service, Status& status) {
  velmora::System& system = *host.services.system;
  status.timer = host.family.upgrade_timer();
  status.service_state = "unknown";
  if (host.init != velmora::Init::systemd) {
    return;
  }
  const std::string state = output_of(system, fmt::format(SERVICE_STATE_QUERY, service));
  status.service_state = state.empty() ? "unknown" : state;
  if (!status.timer.empty()) {
    status.timer_is_running = velmora::command_succeeds(system, fmt::format(TIMER_STATE_QUERY, status.timer));
    status.timer_is_enabled = system
                                  .run_command(systemd_commands::enabled_query_of(status.timer),
                                               velmora::Run_Flag::WAIT_AND_CAPTURE)
                                  .exit_code == 0;
    status.next_run = iso_time_in(output_of(system, fmt::format(NEXT_RUN_QUERY, status.timer)));
  }
}

Status::Drifted_File drifted(const File_Change& change) {
  if (!change.before) {
    return {change.path.string(), Status::Drift::MISSING};
  }
  return {change.path.string(), change.after ? Status::Drift::DIFFERS : Status::Drift::NOT_WANTED};
}

bool is_for_upgrades(const Planned_Command& command) {
  switch (command.kind) {
    case Command_Kind::QUERY:
    case Command_Kind::REFRESHES_REPOSITORIES:
    case Command_Kind::IMPORTS_KEY:
    case Command_Kind::CHANGES_SOURCE:
    case Command_Kind::HOLDS_PACKAGE:
    case Command_Kind::RELEASES_HOLD:
      return false;
    default:
      return !command.is_noop;
  }
}

void take_over(const Plan& plan, const Family& family, Status& status) {
  for (const auto& change : plan.files) {
    const File_Kind kind = family.kind_of(change.path);
    if (registers_repository(kind)) {
      status.drifted_repository_files.push_back(drifted(change));
    } else if (kind != File_Kind::BACKUP) {
      status.drifted_upgrade_files.push_back(drifted(change));
    }
  }
  for (const auto& command : plan.commands) {
    if (is_for_upgrades(command)) {
      status.upgrade_commands.push_back(command.line);
    }
  }
  status.hold = plan.hold;
}

void add_conflicts(const Cycle_History& history, std::vector<Status::Reason>& reasons) {
  for (const auto& subject : conflicts(history)) {
    if (subject == HOLD_SUBJECT) {
      reasons.push_back({"conflict.hold", fmt::format("{} is held again after each release: something else "
                                                      "on this host holds it",
                                                      PACKAGE_NAME)});
    } else {
      reasons.push_back(
          {"conflict.file", subject + " is changed back after each repair: something else writes it"});
    }
  }
}

void add_cycle_reasons(const Status& status, std::vector<Status::Reason>& reasons) {
  if (const auto& stalled = status.stalled_installation) {
    reasons.push_back(
        {"installation.stalled",
         fmt::format("An installation has made no progress since {}, and no cycle goes on until "
                     "it ends: {}",
                     to_iso_time(stalled->since), stalled->command)});
  }
  if (!status.cycles) {
    reasons.push_back({"cycle.never_ran", "No cycle is recorded on this host"});
    return;
  }
  for (const auto& failure : status.cycles->last_cycle.failures) {
    reasons.push_back({"cycle.failed", "The last cycle failed: " + failure.message});
  }
  for (const auto& key : new_keys(status.cycles->history, std::chrono::system_clock::now())) {
    reasons.push_back({"keys.new", fmt::format("Since {} packages are checked with a new key, which the "
                                               "repository's key address yielded: {}",
                                               to_iso_time(key.time), key.key)});
  }
  add_conflicts(status.cycles->history, reasons);
}

// Tools that fail name no version either. A package that is known to be missing is a cause by itself.
bool is_not_installed(const Status& status) {
  return status.versions.installed.empty() && status.verdict.outlook.causes.empty();
}

std::vector<Status::Reason> find_reasons(const Status& status, const Plan& plan, const std::string& service) {
  std::vector<Status::Reason> reasons;
  const auto add_if = [&reasons](bool applies, const char* code, const std::string& message) {
    if (applies) {
      reasons.push_back({code, message});
    }
  };
  const bool has_systemd = status.init == velmora::Init::systemd;
  add_if(has_systemd && status.is_timer_known && status.service_state != "active", "service.not_running",
         fmt::format("The service {} is {}: drift is not repaired", service, status.service_state));
  add_if(is_not_installed(status), "package.not_installed", fmt::format("{} is not installed", PACKAGE_NAME));
  add_if(status.verdict.kind == Verdict_Kind::OVERDUE, "upgrades.overdue", describe(status.verdict));
  add_if(!status.repository_is_registered, "repository.not_registered", "The repository is not registered");
  add_if(status.repository_is_registered && !status.drifted_repository_files.empty(),
         "repository.out_of_step", "The repository's registration is out of step");
  add_if(status.hold == Hold_State::HELD, "hold.held",
         fmt::format("{} is held against upgrades", PACKAGE_NAME));
  add_if(status.is_plan_known && status.hold == Hold_State::UNKNOWN, "hold.unknown",
         fmt::format("Whether {} is held is unknown: the query failed, or the repository lists nothing",
                     PACKAGE_NAME));
  add_if(!status.upgrades_are_wanted, "upgrades.off", "Automatic upgrades are switched off in the settings");
  add_if(!status.drifted_upgrade_files.empty() || !status.upgrade_commands.empty(), "upgrades.out_of_step",
         "The automatic upgrades are out of step");
  add_if(status.upgrades_are_wanted && has_systemd && !status.timer.empty() && status.is_timer_known &&
             !status.timer_is_running,
         "timer.not_running", status.timer + " is not running");
  add_if(status.upgrades_are_wanted && status.timer_is_running && !status.timer_is_enabled,
         "timer.not_enabled",
         fmt::format("{0} runs, but is not enabled: after a start of the host only a cycle starts it; run "
                     "\"systemctl enable {0}\"",
                     status.timer));
  add_if(status.is_plan_known && plan.failure.has_value(), "cycle.would_fail",
         "The next cycle would fail: " + plan.failure.value_or(""));
  add_cycle_reasons(status, reasons);
  return reasons;
}

void add_weaknesses(const Findings& weaknesses, std::vector<Status::Reason>& reasons) {
  for (const auto& weakness : weaknesses) {
    reasons.push_back({weakness.code, to_string(weakness)});
  }
}

// What is known of a cause is more than a reason of the same code says. The first cause of a code stands for
// all of them: the verdict's own report has the others.
void add_causes(const Causes& causes, std::vector<Status::Reason>& reasons) {
  std::vector<Status::Reason> of_causes;
  for (const auto& cause : causes) {
    const auto has_code = [&cause](const Status::Reason& reason) { return reason.code == cause.code; };
    if (std::none_of(of_causes.begin(), of_causes.end(), has_code)) {
      of_causes.push_back({cause.code, with_remedy(cause)});
      std::erase_if(reasons, has_code);
    }
  }
  reasons.insert(reasons.begin(), of_causes.begin(), of_causes.end());
}

Verdict find_verdict_in_time(const Minded_Host& host, const Command_Bounds& bounds) {
  const auto last =
      verdict_store::read(*host.services.filesystem, verdict_store::file_in(host.settings.state_directory()));
  return find_verdict(host, last ? last->history : Upgrade_History{}, false,
                      {std::min(bounds.deadline, std::chrono::steady_clock::now() + VERDICT_LIMIT), {}});
}

// Only what is known: a version that is offered according to old lists may be an old one.
Package_Versions find_versions(const Minded_Host& host, const Verdict& verdict) {
  const Upgrade_Outlook& outlook = verdict.outlook;
  Package_Versions versions = {outlook.installed, outlook.offered};
  const bool is_obscured = std::any_of(outlook.causes.begin(), outlook.causes.end(), [](const Cause& cause) {
    return cause.effect == Cause_Effect::OBSCURES;
  });
  if (outlook.installed.empty()) {
    versions = host.family.find_versions(host.services, host.settings);
  }
  if (is_obscured && !outlook.newer_is_offered) {
    versions.offered.clear();
  }
  return versions;
}

// Where systemd does not run the program nobody else does, but an administrator. A family without units has a
// service manager of another kind.
bool is_started_by_nobody(const Minded_Host& host, const std::string& service) {
  return host.init != velmora::Init::systemd && !host.family.units().empty() && service == PROGRAM_SERVICE &&
         Work_Area::find_holder(host.settings).empty();
}

}  // namespace

Status make_status(const Settings& settings, const Host_Services& services, const std::string& service) {
  return make_status(settings, services, service, Family_Registry::built_in());
}

Status make_status(const Settings& settings, const Host_Services& services, const std::string& service,
                   const Family_Registry& registry) {
  return make_status(settings, Report_Services(services), service, registry);
}

Status make_status(const Settings& settings, const Report_Services& report, const std::string& service,
                   const Family_Registry& registry) {
  const Host_Services& services = report.services();
  const Minded_Host host = find_minded_host(settings, services, registry);
  Status status;
  status.family = host.family.name();
  status.init = host.init;
  status.overdue_after = settings.overdue_after();
  status.upgrades_are_wanted = settings.automatic_upgrades();
  find_service_and_timer(host, service, status);
  status.is_timer_known = !report.first_cut();
  status.verdict = find_verdict_in_time(host, report.bounds());
  status.repository_is_registered = host.family.is_repository_registered(services, settings);
  const Plan plan = make_plan(Plan::Operation::CYCLE, settings, report, registry);
  status.is_plan_known = !plan.is_incomplete;
  if (status.is_plan_known) {
    take_over(plan, host.family, status);
  }
  status.versions = find_versions(host, status.verdict);
  status.cycles = cycle_store::read(*services.filesystem, cycle_store::file_in(settings.state_directory()));
  status.stalled_installation = stalled_installation::read(
      *services.filesystem, stalled_installation::file_in(settings.state_directory()));
  const Findings weaknesses = host.family.find_weaknesses(settings, services, host.init);
  status.reasons = find_reasons(status, plan, service);
  if (is_started_by_nobody(host, service)) {
    status.reasons.push_back(
        {"service.no_systemd",
         "This host has no systemd, so no service of package-minder's runs here: have cron run "
         "\"package-minder once\", for example every hour"});
  }
  if (const auto cut = report.first_cut()) {
    status.reasons.push_back(
        {"report.time_limit",
         fmt::format(
             "The host's tools did not answer in time, so not everything is known: \"{}\" did not end",
             *cut)});
  } else {
    add_weaknesses(weaknesses, status.reasons);
  }
  add_causes(status.verdict.outlook.causes, status.reasons);
  return status;
}

}  // namespace zant::velmora_host
