#include <zant/velmora_host/reports/status.hpp>

#include <zant/velmora_host/families/library_commands.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <sstream>

namespace zant::velmora_host {
namespace {

using velmora::Package_Constants::PACKAGE_NAME;

constexpr const char* SERVICE_STATE_QUERY = "systemctl is-active package-minder.service 2> /dev/null";
constexpr const char* TIMER_STATE_QUERY = "systemctl is-active --quiet {}";
constexpr const char* NEXT_RUN_QUERY =
    "systemctl show --property=NextElapseUSecRealtime --value {} 2> /dev/null";
constexpr const char* RPM_VERSION_QUERY = "rpm --query --queryformat '%{{VERSION}}-%{{RELEASE}}' {}";
// What DNF last learned: asking the repository would need the network.
constexpr const char* DNF_OFFER_QUERY =
    "dnf --quiet --cacheonly repoquery --repoid {} --latest-limit 1 --queryformat "
    "'%{{version}}-%{{release}}' {} "
    "2> /dev/null";

std::string output_of(velmora::System& system, const std::string& command) {
  const auto result = system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  return result.exit_code == 0 ? boost::algorithm::trim_copy(result.output) : "";
}

// "  Installed: 1.0" and the like; "(none)" stands for nothing.
std::string policy_field(const std::string& policy, const std::string& name) {
  std::istringstream lines(policy);
  for (std::string line; std::getline(lines, line);) {
    boost::algorithm::trim(line);
    if (boost::algorithm::starts_with(line, name)) {
      const std::string value = boost::algorithm::trim_copy(line.substr(name.size()));
      return value == "(none)" ? "" : value;
    }
  }
  return "";
}

void find_versions(velmora::System& system, Status& status) {
  if (status.host.family == velmora::Package_Config_Type::APT) {
    const std::string policy = output_of(system, velmora::APT_Constants::REPO_POLICY_QUERY);
    status.installed_version = policy_field(policy, "Installed:");
    status.offered_version = policy_field(policy, "Candidate:");
  } else {
    status.installed_version = output_of(system, fmt::format(RPM_VERSION_QUERY, PACKAGE_NAME));
    status.offered_version =
        output_of(system, fmt::format(DNF_OFFER_QUERY, velmora::DNF_Constants::DNF_REPO_ID, PACKAGE_NAME));
  }
}

void find_service_and_timer(velmora::System& system, Status& status) {
  status.timer = status.host.family == velmora::Package_Config_Type::APT
                     ? velmora::APT_Constants::APT_UPGRADE_TIMER
                     : velmora::DNF_Constants::DNF_AUTOMATIC_TIMER;
  status.service_state = "unknown";
  if (status.host.init != velmora::Init::systemd) {
    return;
  }
  const auto state = system.run_command(SERVICE_STATE_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE).output;
  status.service_state = boost::algorithm::trim_copy(state);
  status.timer_is_running = velmora::command_succeeds(system, fmt::format(TIMER_STATE_QUERY, status.timer));
  status.next_run = output_of(system, fmt::format(NEXT_RUN_QUERY, status.timer));
}

bool is_registered(velmora::Filesystem& filesystem, velmora::Package_Config_Type family) {
  return family == velmora::Package_Config_Type::APT
             ? filesystem.exists(velmora::APT_Constants::SOURCE_LIST_PATH) &&
                   filesystem.exists(velmora::APT_Constants::REPO_KEYRING_PATH)
             : filesystem.exists(velmora::DNF_Constants::REPO_FILE_PATH);
}

Status::Drifted_File drifted_file(const File_Change& change) {
  if (!change.before) {
    return {change.path.string(), "missing"};
  }
  return {change.path.string(), change.after ? "differs" : "not_wanted"};
}

bool is_repository_file(const std::string& path) {
  const std::string kind = kind_of_file(path);
  return kind == "keyring" || kind == "source_list" || kind == "repository_file";
}

bool is_backup(const std::string& path) {
  return boost::algorithm::starts_with(path, velmora::APT_Constants::APT_CONFIG_BACKUP_DIR + "/");
}

bool is_for_upgrades(const Planned_Command& command) {
  const bool is_for_repository = command.line == velmora::APT_Constants::REFRESH_REPOS ||
                                 boost::algorithm::starts_with(command.line, "rpm --import ");
  return !command.is_noop && !is_for_repository && !library_commands::releases_hold(command.line);
}

void take_over(const Plan& plan, Status& status) {
  for (const auto& change : plan.files) {
    const std::string path = change.path.string();
    if (is_repository_file(path)) {
      status.drifted_repository_files.push_back(drifted_file(change));
    } else if (!is_backup(path)) {
      status.drifted_upgrade_files.push_back(drifted_file(change));
    }
  }
  for (const auto& command : plan.commands) {
    if (is_for_upgrades(command)) {
      status.upgrade_commands.push_back(command.line);
    }
  }
  if (plan.is_held) {
    status.hold = *plan.is_held ? Status::Hold::HELD : Status::Hold::NOT_HELD;
  }
}

void add_conflict_reasons(const Cycle_History& history, std::vector<Status::Reason>& reasons) {
  for (const auto& subject : conflicts(history)) {
    if (subject == HOLD_SUBJECT) {
      reasons.push_back(
          {"conflict.hold", fmt::format("{} is held again and again: somebody holds it after each "
                                        "release, or DNF cannot reach the repository",
                                        PACKAGE_NAME)});
    } else {
      reasons.push_back({"conflict.file", subject + " is changed back again and again by somebody else"});
    }
  }
}

void add_cycle_reasons(const Status& status, std::vector<Status::Reason>& reasons) {
  if (!status.cycles) {
    reasons.push_back({"cycle.never_ran", "No cycle is recorded on this host"});
    return;
  }
  if (const auto& failure = status.cycles->last_cycle.failure) {
    reasons.push_back({"cycle.failed", "The last cycle failed: " + failure->message});
  }
  add_conflict_reasons(status.cycles->history, reasons);
}

std::vector<Status::Reason> find_reasons(const Status& status, const Plan& plan) {
  std::vector<Status::Reason> reasons;
  const auto add_if = [&reasons](bool applies, const char* code, const std::string& message) {
    if (applies) {
      reasons.push_back({code, message});
    }
  };
  const bool has_systemd = status.host.init == velmora::Init::systemd;
  add_if(has_systemd && status.service_state != "active", "service.not_running",
         "The service package-minder is " + status.service_state + ": nothing is put right by itself");
  add_if(status.installed_version.empty(), "package.not_installed",
         fmt::format("{} is not installed", PACKAGE_NAME));
  add_if(!status.repository_is_registered, "repository.not_registered", "The repository is not registered");
  add_if(status.repository_is_registered && !status.drifted_repository_files.empty(),
         "repository.out_of_step", "The repository's registration is out of step");
  add_if(status.hold == Status::Hold::HELD, "hold.held",
         fmt::format("{} is held against upgrades", PACKAGE_NAME));
  add_if(
      status.hold == Status::Hold::UNKNOWN, "hold.unknown",
      "Whether the package is held cannot be told: DNF lists nothing of the repository, because of a hold or "
      "because it cannot be reached");
  add_if(!status.upgrades_are_wanted, "upgrades.off", "Automatic upgrades are switched off in the settings");
  add_if(!status.drifted_upgrade_files.empty() || !status.upgrade_commands.empty(), "upgrades.out_of_step",
         "The automatic upgrades are out of step");
  add_if(status.upgrades_are_wanted && has_systemd && !status.timer_is_running, "timer.not_running",
         status.timer + " is not running");
  add_if(plan.failure.has_value(), "cycle.would_fail",
         "The next cycle would fail: " + plan.failure.value_or(""));
  add_cycle_reasons(status, reasons);
  return reasons;
}

}  // namespace

Status make_status(const Settings& settings, const Host_Services& services) {
  Status status;
  const Plan plan = make_plan(Plan::Operation::CYCLE, settings, services);
  status.host = find_host_kind(*services.filesystem);
  status.repository_is_registered = is_registered(*services.filesystem, status.host.family);
  status.upgrades_are_wanted = settings.automatic_upgrades();
  take_over(plan, status);
  find_versions(*services.system, status);
  find_service_and_timer(*services.system, status);
  status.cycles = cycle_store::read(*services.filesystem, cycle_store::file_in(settings.state_directory()));
  status.reasons = find_reasons(status, plan);
  return status;
}

}  // namespace zant::velmora_host
