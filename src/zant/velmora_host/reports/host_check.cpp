#include <zant/velmora_host/reports/host_check.hpp>

#include <zant/velmora_host/families/systemd_commands.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host::host_check {
namespace {

using boost::filesystem::path;

constexpr const char* PRESENCE = "command -v {} > /dev/null";
constexpr const char* CALENDAR_CHECK = "systemd-analyze calendar '{}' &> /dev/null";
constexpr const char* TIME_SPAN_CHECK = "systemd-analyze timespan '{}' &> /dev/null";
// On a read-only file system not even root may write.
constexpr const char* WRITABLE = "test -w {}";

std::vector<Required_Tool> required_tools(const Family& family, velmora::Init init) {
  auto tools = family.required_tools();
  if (init == velmora::Init::systemd) {
    tools.push_back({"systemctl", "systemd"});
  }
  return tools;
}

std::string setting(const Settings& settings, const std::string& key) {
  return settings.configuration().getString(key, "");
}

void judge(velmora::System& system, const char* check, const std::string& key, const std::string& value,
           const char* remedy, const char* code, Check_Report& report) {
  // The rules for settings let no quote into these values.
  if (!value.empty() && !velmora::command_succeeds(system, fmt::format(fmt::runtime(check), value))) {
    report.findings.push_back({key, fmt::format("systemd cannot read \"{}\"", value), remedy, code});
  }
}

void check_directory(const Host_Services& services, const path& directory, Check_Report& report) {
  if (!services.filesystem->exists(directory)) {
    report.findings.push_back({directory.string(), "this directory of the package manager's is missing",
                               "install the package manager again, or create the directory",
                               "host.directory_missing"});
  } else if (!velmora::command_succeeds(*services.system, fmt::format(WRITABLE, directory.string()))) {
    report.findings.push_back({directory.string(), "cannot be written to: the file system is read-only",
                               "mount it writable; a host whose /etc cannot be changed cannot be minded",
                               "host.read_only"});
  }
}

}  // namespace

void check_tools(velmora::System& system, const Family& family, velmora::Init init, Check_Report& report) {
  for (const auto& tool : required_tools(family, init)) {
    if (!velmora::command_succeeds(system, fmt::format(PRESENCE, tool.name))) {
      report.findings.push_back({tool.name, "this command is missing",
                                 fmt::format("install the package {}", tool.package), "tools.missing"});
    }
  }
}

void check_units(velmora::System& system, const Family& family, velmora::Init init, Check_Report& report) {
  if (init != velmora::Init::systemd) {
    return;
  }
  for (const auto& unit : family.units()) {
    const auto state =
        system.run_command(systemd_commands::enabled_query_of(unit), velmora::Run_Flag::WAIT_AND_CAPTURE)
            .output;
    if (boost::algorithm::starts_with(state, "masked")) {
      report.findings.push_back(
          {unit, "is masked: automatic upgrades need it to run",
           fmt::format("\"systemctl unmask {}\", or minder.automatic_upgrades = false", unit),
           "units.masked"});
    } else if (boost::algorithm::starts_with(state, "disabled") &&
               boost::algorithm::ends_with(unit, ".timer")) {
      report.findings.push_back(
          {unit,
           "is not enabled: after a start of the host it does not run, or only when a cycle "
           "of package-minder's has started it",
           fmt::format("\"systemctl enable {}\"", unit), "units.not_enabled"});
    }
  }
}

void check_schedule(velmora::System& system, const Settings& settings, const Family& family,
                    velmora::Init init, Check_Report& report) {
  if (family.schedule_settings().empty()) {
    return;
  }
  const std::string calendar_key = family.schedule_settings() + ".on_calendar";
  const std::string delay_key = family.schedule_settings() + ".randomized_delay";
  const std::string calendar = setting(settings, calendar_key);
  const std::string delay = setting(settings, delay_key);
  if (calendar.empty() && delay.empty()) {
    return;
  }
  if (init != velmora::Init::systemd) {
    report.findings.push_back({calendar.empty() ? delay_key : calendar_key,
                               "this host has no systemd, so its upgrades have no timer to set",
                               "remove the upgrade_timer settings", "schedule.no_systemd"});
  } else if (!velmora::command_succeeds(system, fmt::format(PRESENCE, "systemd-analyze"))) {
    report.unchecked.push_back({"schedule", "the calendar and delay of automatic upgrades",
                                "systemd-analyze is not installed on this host"});
  } else {
    judge(system, CALENDAR_CHECK, calendar_key, calendar,
          "must be a calendar expression such as Mon..Fri 03:00; try it with \"systemd-analyze calendar\"",
          "schedule.bad_calendar", report);
    judge(system, TIME_SPAN_CHECK, delay_key, delay,
          "must be a time span such as 30min; try it with \"systemd-analyze timespan\"", "schedule.bad_delay",
          report);
  }
}

void check_directories(const Host_Services& services, const Settings& settings, const Family& family,
                       velmora::Init init, Check_Report& report) {
  for (const auto& directory : family.directories()) {
    check_directory(services, directory, report);
  }
  if (init == velmora::Init::systemd) {
    check_directory(services, "/etc/systemd/system", report);
  }
  const path metrics = settings.metrics_file().parent_path();
  if (!metrics.empty() && !services.filesystem->exists(metrics)) {
    report.findings.push_back({metrics.string(), "the directory of minder.metrics_file is missing",
                               "create it, or name the directory that the node exporter reads",
                               "metrics.directory_missing"});
  }
}

}  // namespace zant::velmora_host::host_check
