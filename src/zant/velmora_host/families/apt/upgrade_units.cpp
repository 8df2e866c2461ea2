#include <zant/velmora_host/families/apt/upgrade_units.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/far_run.hpp>

#include <Poco/DateTime.h>
#include <Poco/Timestamp.h>
#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <ctime>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::algorithm::starts_with;
using std::chrono::system_clock;
using Properties = std::map<std::string, std::string>;

struct Job {
  const char* timer;
  const char* service;
  const char* command;  ///< as the service runs it
};

constexpr Job REFRESH = {"apt-daily.timer", "apt-daily.service", "/usr/lib/apt/apt.systemd.daily update"};
constexpr Job UPGRADE = {"apt-daily-upgrade.timer", "apt-daily-upgrade.service",
                         "/usr/lib/apt/apt.systemd.daily install"};

// With the zone set, systemd prints times in UTC.
constexpr const char* QUERY =
    "env TZ=UTC systemctl show "
    "--property=Id,LoadState,LoadError,UnitFileState,ActiveState,SubState,Result,Unit,"
    "NextElapseUSecRealtime,NextElapseUSecMonotonic,LastTriggerUSec,ExecMainStartTimestamp,"
    "ExecMainExitTimestamp,ExecStart,"
    "DropInPaths,FragmentPath apt-daily.timer apt-daily.service apt-daily-upgrade.timer "
    "apt-daily-upgrade.service";

std::vector<Properties> parse(const std::string& text) {
  std::vector<Properties> units(1);
  for (const auto& line : lines_of(text)) {
    if (line.empty()) {
      units.emplace_back();
    } else if (const auto separator = line.find('='); separator != std::string::npos) {
      units.back()[line.substr(0, separator)] = line.substr(separator + 1);
    }
  }
  return units;
}

std::string at(const Properties& properties, const std::string& name) {
  const auto found = properties.find(name);
  return found == properties.end() ? "" : found->second;
}

// "Sun 2026-11-22 20:53:18 UTC"
std::optional<system_clock::time_point> parse_time(const std::string& text) {
  const auto begin = text.find(' ');
  std::tm time{};
  if (begin == std::string::npos || !boost::algorithm::ends_with(text, " UTC") ||
      strptime(text.c_str() + begin + 1, "%Y-%m-%d %H:%M:%S", &time) == nullptr) {
    return std::nullopt;
  }
  // Not by way of time_t, which ends in 2038 on some hosts.
  const int year = time.tm_year + 1900;
  const int month = time.tm_mon + 1;
  if (!Poco::DateTime::isValid(year, month, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec)) {
    return std::nullopt;
  }
  const Poco::DateTime date(year, month, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
  return time_since_epoch(date.timestamp().epochMicroseconds() / Poco::Timestamp::resolution());
}

std::string shown(const Properties& unit, const std::string& name) {
  return fmt::format("systemctl show {}: {}={}", at(unit, "Id"), name, at(unit, name));
}

struct Load_Codes {
  const char* masked;
  const char* missing;
  const char* invalid;
};

constexpr Load_Codes TIMER_CODES = {"timer.masked", "timer.missing", "timer.invalid"};
constexpr Load_Codes SERVICE_CODES = {"service.masked", "service.missing", "service.invalid"};

// What systemd has loaded; nothing is asked of a unit that is not loaded.
//
// @param start what starts it afterwards, as the end of a command.
std::optional<Cause> find_load_fault(const Properties& unit, const Load_Codes& codes,
                                     const std::string& start) {
  const std::string name = at(unit, "Id");
  const std::string state = at(unit, "LoadState");
  if (state == "loaded") {
    return std::nullopt;
  }
  if (state == "masked") {
    return blocks(codes.masked, fmt::format("{} is masked, so it never runs", name), shown(unit, "LoadState"),
                  fmt::format("systemctl unmask {0} && systemctl unmask --runtime {0}{1}", name, start));
  }
  if (state == "not-found") {
    return blocks(codes.missing, fmt::format("{} does not exist", name), shown(unit, "LoadState"),
                  fmt::format("apt-get install --reinstall --assume-yes apt{}", start));
  }
  return blocks(
      codes.invalid, fmt::format("systemd cannot load {}", name),
      shown(unit, "LoadState") + " " + at(unit, "LoadError"),
      fmt::format("systemctl revert {} && systemctl daemon-reload{} && package-minder once", name, start));
}

Causes find_timer_faults(const Properties& timer, const Job& job) {
  if (auto fault =
          find_load_fault(timer, TIMER_CODES, fmt::format(" && systemctl enable --now {}", job.timer))) {
    return {*fault};
  }
  Causes causes;
  if (at(timer, "ActiveState") != "active") {
    const bool is_enabled = at(timer, "UnitFileState") != "disabled";
    causes.push_back(
        blocks("timer.stopped", fmt::format("{} is not running, so nothing starts its service", job.timer),
               shown(timer, "ActiveState"),
               fmt::format("systemctl {} {}", is_enabled ? "restart" : "enable --now", job.timer)));
  } else if (at(timer, "SubState") == "elapsed") {
    causes.push_back(
        blocks("timer.elapsed", fmt::format("the schedule of {} has no next time", job.timer),
               shown(timer, "SubState"),
               fmt::format("systemctl revert {0} && systemctl daemon-reload && package-minder once && "
                           "systemctl restart {0}",
                           job.timer)));
  } else if (at(timer, "UnitFileState") == "disabled") {
    causes.push_back(obscures("timer.disabled",
                              fmt::format("{} runs, but does not start with the host", job.timer),
                              shown(timer, "UnitFileState"), fmt::format("systemctl enable {}", job.timer)));
  }
  if (at(timer, "Unit") != job.service) {
    causes.push_back(
        blocks("timer.elsewhere", fmt::format("{} starts another unit than {}", job.timer, job.service),
               shown(timer, "Unit"),
               fmt::format("systemctl revert {0} && systemctl daemon-reload && package-minder once && "
                           "systemctl restart {0}",
                           job.timer)));
  }
  return causes;
}

// Lines of a unit file that do not matter to what the service does: others are not judged.
bool is_harmless(const std::string& line, const Job& job) {
  static const std::set<std::string> keys = {"After",
                                             "Before",
                                             "Wants",
                                             "Description",
                                             "Documentation",
                                             "Nice",
                                             "IOSchedulingClass",
                                             "CPUWeight",
                                             "CPUQuota",
                                             "IOWeight",
                                             "OnFailure",
                                             "OnSuccess",
                                             "KillMode",
                                             "IOSchedulingPriority",
                                             "Type",
                                             "CPUSchedulingPolicy",
                                             "TimeoutStopSec",
                                             "WantedBy",
                                             "SyslogIdentifier"};
  const auto separator = line.find('=');
  return line.empty() || line.front() == '#' || line.front() == ';' || line.front() == '[' ||
         line == "ConditionACPower=true" || line == "ExecStartPre=-/usr/lib/apt/apt-helper wait-online" ||
         line == fmt::format("ExecStart={}", job.command) || line == "Type=oneshot" ||
         (separator != std::string::npos &&
          keys.contains(boost::algorithm::trim_copy(line.substr(0, separator))));
}

std::optional<std::string> find_change(const std::string& file, const Job& job, Host_Filesystem& filesystem) {
  std::size_t number = 0;
  for (const auto& line : lines_of(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT))) {
    ++number;
    if (!is_harmless(boost::algorithm::trim_copy(line), job)) {
      return fmt::format("{}:{}: {}", file, number, line);
    }
  }
  return std::nullopt;
}

bool is_administrators(const std::string& file) {
  return starts_with(file, "/etc/") || starts_with(file, "/run/") || starts_with(file, "/usr/local/");
}

std::optional<Cause> find_missing_program(const Outlook_Question& question, const Job& job) {
  const std::string command = job.command;
  const std::string program = command.substr(0, command.find(' '));
  const std::string query = fmt::format("test -x {}", program);
  const auto answer = ask(question, query);
  if (answer.exit_code != 1) {
    return std::nullopt;
  }
  return blocks(
      "service.program_missing",
      fmt::format("{}, which {} starts, is missing or cannot be executed", program, job.service),
      told(query, answer.words),
      fmt::format("test -e {0} && chmod 0755 {0} || apt-get install --reinstall --assume-yes apt", program));
}

Causes find_service_faults(const Outlook_Question& question, const Properties& service, const Job& job) {
  if (auto fault = find_load_fault(service, SERVICE_CODES, "")) {
    return {*fault};
  }
  const std::string remedy = fmt::format("systemctl revert {} && systemctl daemon-reload", job.service);
  if (at(service, "ExecStart").find(fmt::format("argv[]={} ;", job.command)) == std::string::npos) {
    return {obscures("service.replaced", fmt::format("{} runs another command than APT's", job.service),
                     shown(service, "ExecStart"), remedy)};
  }
  if (auto missing = find_missing_program(question, job)) {
    return {*missing};
  }
  std::vector<std::string> files;
  boost::algorithm::split(files, at(service, "DropInPaths") + " " + at(service, "FragmentPath"),
                          boost::algorithm::is_space(), boost::algorithm::token_compress_on);
  Causes causes;
  for (const auto& file : files) {
    if (const auto change =
            is_administrators(file) ? find_change(file, job, *question.services.filesystem) : std::nullopt) {
      causes.push_back(
          obscures("service.changed",
                   fmt::format("{} is changed in a way that may keep it from its work", job.service), *change,
                   remedy));
      break;
    }
  }
  return causes;
}

// systemd is asked whether it would start the service; older ones cannot be asked.
Causes find_unmet_conditions(const Outlook_Question& question, const Job& job) {
  const std::string command = fmt::format("systemd-analyze condition --unit={}", job.service);
  const auto answer = ask(question, command);
  const bool is_answer =
      answer.words.find("failed") != std::string::npos && answer.words.find("ondition") != std::string::npos;
  if (answer.exit_code != 1 || !is_answer) {
    return {};
  }
  if (answer.words.find("ConditionACPower") != std::string::npos) {
    return {blocks("power.on_battery", fmt::format("{} does not run on battery", job.service),
                   told(command, answer.words), "Connect the host to mains power")};
  }
  return {blocks("service.condition_unmet",
                 fmt::format("a condition keeps systemd from starting {}", job.service),
                 told(command, answer.words),
                 fmt::format("systemctl revert {} && systemctl daemon-reload", job.service))};
}

std::optional<system_clock::time_point> next_time(const Properties& timer) {
  return parse_time(at(timer, "NextElapseUSecRealtime"));
}

std::optional<Cause> find_far_timer(const Properties& timer, const Job& job, system_clock::time_point now) {
  const auto next = next_time(timer);
  return next && at(timer, "ActiveState") == "active"
             ? find_far_run(job.timer, *next, now, shown(timer, "NextElapseUSecRealtime"),
                            fmt::format("systemctl revert {0} && systemctl daemon-reload && package-minder "
                                        "once && systemctl restart {0}",
                                        job.timer))
             : std::nullopt;
}

bool is_busy(const Properties& service) {
  const std::string state = at(service, "ActiveState");
  return state == "activating" || state == "active" || state == "deactivating";
}

std::optional<Upgrade_Run> last_run_of(const Properties& service) {
  const auto ended = parse_time(at(service, "ExecMainExitTimestamp"));
  if (!ended) {
    return std::nullopt;
  }
  const std::string result = at(service, "Result");
  return Upgrade_Run{*ended, result == "success", result};
}

Causes find_failed_run(const Properties& service, const Job& job) {
  const std::string result = at(service, "Result");
  if (is_busy(service) || result == "success" || result.empty() || at(service, "LoadState") != "loaded") {
    return {};
  }
  return {obscures("run.failed", fmt::format("the last run of {} failed", job.service),
                   shown(service, "Result"), fmt::format("systemctl start {}", job.service))};
}

}  // namespace

Upgrade_Units find_upgrade_units(const Outlook_Question& question) {
  const auto answer = ask(question, QUERY);
  const auto units = parse(answer.words);
  if (!answer.succeeded() || units.size() < 4) {
    Upgrade_Units unknown;
    unknown.causes.push_back(tool_failed("systemctl show apt-daily.timer", answer));
    return unknown;
  }
  Upgrade_Units found;
  for (const auto& [job, timer, service] :
       {std::tuple(REFRESH, units[0], units[1]), std::tuple(UPGRADE, units[2], units[3])}) {
    append(found.causes, find_timer_faults(timer, job));
    if (auto far_run = find_far_timer(timer, job, question.now)) {
      found.causes.push_back(*far_run);
    }
    append(found.causes, find_service_faults(question, service, job));
    append(found.causes, find_unmet_conditions(question, job));
    append(found.causes, find_failed_run(service, job));
    found.is_running = found.is_running || is_busy(service);
  }
  found.next_refresh = next_time(units[0]);
  found.next_run = next_time(units[2]);
  found.refresh_triggered = parse_time(at(units[0], "LastTriggerUSec"));
  found.last_refresh = parse_time(at(units[1], "ExecMainStartTimestamp"));
  found.last_run = last_run_of(units[3]);
  return found;
}

}  // namespace zant::velmora_host::apt_outlook
