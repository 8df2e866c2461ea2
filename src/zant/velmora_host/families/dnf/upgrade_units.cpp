#include <zant/velmora_host/families/dnf/upgrade_units.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/far_run.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>

#include <Poco/Exception.h>
#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>
#include <string_view>

namespace zant::velmora_host::dnf_outlook {
namespace {

using std::chrono::system_clock;
using Properties = Upgrade_Units::Properties;

// systemd's answer is in the time zone of who asks.
constexpr const char* UNITS_QUERY =
    "TZ=UTC timeout --kill-after=1 4 systemctl show "
    "--property=Id,LoadState,LoadError,UnitFileState,ActiveState,SubState,Result,Unit,NextElapseUSecRealtime,"
    "NextElapseUSecMonotonic,ExecStart,ExecMainStatus,ExecMainExitTimestamp,FragmentPath,DropInPaths,User,"
    "ReadOnlyPaths,InaccessiblePaths,ProtectSystem,PrivateNetwork,ActiveEnterTimestamp "
    "dnf-automatic-install.timer dnf-automatic-install.service";

constexpr const char* SERVICE = "dnf-automatic-install.service";
constexpr const char* PROGRAM = "dnf-automatic";
constexpr std::size_t LONGEST_WORDS = 1000;
constexpr double LONGEST_SPAN = 1e11;  // seconds; some thousand years

std::string timer_name() {
  return velmora::DNF_Constants::DNF_AUTOMATIC_TIMER;
}

std::string value_of(const Properties& properties, const std::string& name) {
  const auto found = properties.find(name);
  return found == properties.end() ? "" : found->second;
}

bool is(const Properties& properties, const char* name, const char* value) {
  return value_of(properties, name) == value;
}

std::string evidence_of(const Properties& unit, std::initializer_list<const char*> names) {
  std::string text = fmt::format("systemctl show {}:", value_of(unit, "Id"));
  for (const char* name : names) {
    if (const std::string value = value_of(unit, name); !value.empty()) {
      text += fmt::format(" {}={}", name, value);
    }
  }
  return text;
}

// "Mon 2026-01-31 03:00:00 UTC"
std::optional<system_clock::time_point> time_from(const std::string& text) {
  std::istringstream words(text);
  std::string day;
  std::string date;
  std::string time;
  std::string zone;
  words >> day >> date >> time >> zone;
  if (zone != "UTC") {
    return std::nullopt;
  }
  try {
    return parse_iso_time(fmt::format("{}T{}Z", date, time));
  } catch (const Poco::Exception&) {
    return std::nullopt;
  }
}

// "1y 2month 3w 4d 5h 6min 7.5s"
std::optional<std::chrono::seconds> span_from(const std::string& text) {
  static const std::map<std::string, double> units = {{"y", 31557600}, {"month", 2629800}, {"w", 604800},
                                                      {"d", 86400},    {"h", 3600},        {"min", 60},
                                                      {"s", 1},        {"ms", 0.001},      {"us", 0.000001}};
  std::istringstream words(text);
  std::optional<std::chrono::seconds> span;
  double seconds = 0;
  double number = 0;
  for (std::string unit; words >> number >> unit;) {
    const auto found = units.find(unit);
    if (found == units.end()) {
      return std::nullopt;
    }
    seconds += number * found->second;
    if (!(std::abs(seconds) <= LONGEST_SPAN)) {
      return std::nullopt;
    }
    span = std::chrono::seconds(static_cast<long long>(seconds));
  }
  return span;
}

// The sooner one of a time of the calendar and a time since the boot.
std::optional<system_clock::time_point> next_time_of(const Upgrade_Units& units,
                                                     system_clock::time_point now) {
  const auto calendar = time_from(value_of(units.timer, "NextElapseUSecRealtime"));
  const auto since_boot = span_from(value_of(units.timer, "NextElapseUSecMonotonic"));
  if (!since_boot || units.uptime.count() == 0) {
    return calendar;
  }
  const auto other =
      time_since_epoch(std::chrono::floor<std::chrono::seconds>(now.time_since_epoch()).count() +
                       since_boot->count() - units.uptime.count());
  return calendar && other ? std::min(calendar, other) : calendar ? calendar : other;
}

Cause blocking(const char* code, std::string message, std::string evidence, std::string remedy) {
  return {Cause_Effect::BLOCKS, code, std::move(message), std::move(evidence), std::move(remedy)};
}

// The next time is reckoned when the service that the timer has started is done.
bool never_elapses(const Properties& timer) {
  if (is(timer, "SubState", "running")) {
    return false;
  }
  const std::string monotonic = value_of(timer, "NextElapseUSecMonotonic");
  return value_of(timer, "NextElapseUSecRealtime").empty() && (monotonic.empty() || monotonic == "infinity");
}

std::string told_condition(const Properties& unit, const std::string& words) {
  return fmt::format("systemd-analyze condition --unit={}: {}", value_of(unit, "Id"), words);
}

// Older releases cannot be asked for a unit's.
std::string ask_for_unmet_condition(velmora::System& system, const std::string& unit) {
  const auto answer = system.run_command(
      fmt::format("LC_ALL=C timeout --kill-after=1 4 systemd-analyze condition --unit={} 2>&1", unit),
      velmora::Run_Flag::WAIT_AND_CAPTURE);
  const bool is_answer = answer.exit_code == 1 && answer.output.find("ondition") != std::string::npos &&
                         answer.output.find("failed") != std::string::npos;
  const std::string words = boost::algorithm::trim_copy(answer.output);
  return is_answer ? std::string(whole_beginning(words, LONGEST_WORDS)) : "";
}

std::string restart_of_timer() {
  return fmt::format("systemctl start {}", timer_name());
}

// Where the service is there, the package is installed, and package-minder installs nothing.
std::optional<Cause> find_timer_cause(const Upgrade_Units& units, system_clock::time_point now) {
  const Properties& timer = units.timer;
  const bool has_service = !is(units.service, "LoadState", "not-found");
  const std::string name = timer_name();
  const std::string evidence =
      evidence_of(timer, {"LoadState", "LoadError", "UnitFileState", "ActiveState", "Result"});
  if (is(timer, "LoadState", "masked")) {
    return blocking("timer.masked", fmt::format("{} is masked: nothing starts the upgrades", name), evidence,
                    fmt::format("systemctl unmask {} && {}", name, restart_of_timer()));
  }
  if (is(timer, "LoadState", "not-found")) {
    return blocking(
        "timer.missing", fmt::format("{} is missing: nothing starts the upgrades", name), evidence,
        has_service ? "dnf -y reinstall dnf-automatic && package-minder once" : "package-minder once");
  }
  if (!is(timer, "LoadState", "loaded")) {
    return blocking("timer.invalid", fmt::format("systemd cannot read {}", name), evidence,
                    fmt::format("systemctl revert {} && package-minder once", name));
  }
  if (!is(timer, "ActiveState", "active") && !units.timer_condition.empty()) {
    return blocking("timer.condition_unmet",
                    fmt::format("{} is not running: a condition in its unit is not met", name),
                    told_condition(timer, units.timer_condition),
                    fmt::format("systemctl revert {} && package-minder once", name));
  }
  if (!is(timer, "ActiveState", "active")) {
    return blocking("timer.stopped", fmt::format("{} is not running: nothing starts the upgrades", name),
                    evidence,
                    is(timer, "ActiveState", "failed")
                        ? fmt::format("systemctl reset-failed {} && {}", name, restart_of_timer())
                        : restart_of_timer());
  }
  if (never_elapses(timer)) {
    return blocking(
        "timer.elapsed", fmt::format("{} runs, and no time is left at which it would start anything", name),
        evidence_of(timer, {"ActiveState", "NextElapseUSecMonotonic", "FragmentPath", "DropInPaths"}),
        fmt::format("systemctl revert {0} && systemctl restart {0} && package-minder once", name));
  }
  if (const std::string unit = value_of(timer, "Unit"); !unit.empty() && unit != SERVICE) {
    return blocking(
        "timer.elsewhere", fmt::format("{} starts {} and not {}", name, unit, SERVICE),
        evidence_of(timer, {"Unit", "DropInPaths"}),
        fmt::format("systemctl revert {0} && systemctl restart {0} && package-minder once", name));
  }
  const auto next = next_time_of(units, now);
  return next ? find_far_run(
                    name, *next, now,
                    evidence_of(timer, {"NextElapseUSecRealtime", "NextElapseUSecMonotonic", "DropInPaths"}),
                    fmt::format("systemctl revert {0} && systemctl restart {0} && package-minder once", name))
              : std::nullopt;
}

bool is_confined(const Properties& service) {
  const std::string protection = value_of(service, "ProtectSystem");
  return !value_of(service, "ReadOnlyPaths").empty() || !value_of(service, "InaccessiblePaths").empty() ||
         (!protection.empty() && protection != "no") || is(service, "PrivateNetwork", "yes");
}

std::optional<Cause> find_service_cause(const Upgrade_Units& units) {
  const Properties& service = units.service;
  const std::string evidence = evidence_of(service, {"LoadState", "LoadError", "UnitFileState"});
  const std::string revert = fmt::format("systemctl revert {}", SERVICE);
  if (is(service, "LoadState", "masked")) {
    return blocking("service.masked", fmt::format("{} is masked: upgrades cannot be started", SERVICE),
                    evidence, fmt::format("systemctl unmask {}", SERVICE));
  }
  if (is(service, "LoadState", "not-found")) {
    return blocking("service.missing", fmt::format("{} is missing: upgrades cannot be started", SERVICE),
                    evidence, "dnf -y reinstall dnf-automatic");
  }
  if (!is(service, "LoadState", "loaded")) {
    return blocking("service.invalid", fmt::format("systemd cannot read {}", SERVICE), evidence, revert);
  }
  if (!words_of_automatic(units)) {
    return Cause{
        Cause_Effect::OBSCURES, "service.replaced",
        fmt::format("{} starts something else than {}, and what that does is unknown", SERVICE, PROGRAM),
        evidence_of(service, {"ExecStart", "FragmentPath", "DropInPaths"}), revert};
  }
  if (const std::string user = value_of(service, "User"); !user.empty() && user != "root" && user != "0") {
    return blocking("service.unprivileged",
                    fmt::format("{} runs as {}, who may not install anything", SERVICE, user),
                    evidence_of(service, {"User", "DropInPaths"}), revert);
  }
  if (is_confined(service)) {
    return Cause{Cause_Effect::OBSCURES, "service.confined",
                 fmt::format("{} is confined, and whether it can install anything then is unknown", SERVICE),
                 evidence_of(service, {"ReadOnlyPaths", "InaccessiblePaths", "ProtectSystem",
                                       "PrivateNetwork", "DropInPaths"}),
                 revert};
  }
  if (!units.service_condition.empty()) {
    return blocking("service.condition_unmet",
                    fmt::format("{} is not started: a condition in its unit is not met", SERVICE),
                    told_condition(service, units.service_condition), revert);
  }
  return std::nullopt;
}

// A change of the properties that find_service_cause() judges is told by it.
const std::set<std::string>& harmless_keys() {
  static const std::set<std::string> keys = {
      "After",         "Before",           "Wants",         "Description",         "Documentation",
      "Nice",          "CPUWeight",        "CPUQuota",      "CPUSchedulingPolicy", "IOWeight",
      "OnFailure",     "OnSuccess",        "KillMode",      "IOSchedulingClass",   "IOSchedulingPriority",
      "WantedBy",      "SyslogIdentifier", "ReadOnlyPaths", "InaccessiblePaths",   "ProtectSystem",
      "ExecStart",     "PrivateNetwork",   "User",          "StandardOutput",      "StandardError",
      "OOMScoreAdjust"};
  return keys;
}

bool is_harmless(const std::string& line) {
  const std::size_t separator = line.find('=');
  return line.empty() || std::string_view("#;[").find(line.front()) != std::string_view::npos ||
         line == "Type=oneshot" || line == "ConditionPathExists=!/run/ostree-booted" ||
         (separator != std::string::npos &&
          harmless_keys().contains(boost::algorithm::trim_copy(line.substr(0, separator))));
}

bool is_administrators(const std::string& file) {
  return boost::algorithm::starts_with(file, "/etc/") || boost::algorithm::starts_with(file, "/run/");
}

Properties properties_in(const std::string& text) {
  Properties properties;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t separator = line.find('=');
    if (separator != std::string::npos) {
      properties[line.substr(0, separator)] = boost::algorithm::trim_copy(line.substr(separator + 1));
    }
  }
  return properties;
}

}  // namespace

std::optional<Upgrade_Units> ask_for_upgrade_units(velmora::System& system) {
  const auto answer = system.run_command(UNITS_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  const std::size_t gap = answer.output.find("\n\n");
  if (answer.exit_code != 0 || gap == std::string::npos) {
    return std::nullopt;
  }
  Upgrade_Units units = {
      properties_in(answer.output.substr(0, gap)), properties_in(answer.output.substr(gap + 2)), "", "", {}};
  if (!is(units.timer, "Id", timer_name().c_str()) || !is(units.service, "Id", SERVICE)) {
    return std::nullopt;
  }
  if (is(units.timer, "LoadState", "loaded") && !is(units.timer, "ActiveState", "active")) {
    units.timer_condition = ask_for_unmet_condition(system, timer_name());
  }
  if (is(units.service, "LoadState", "loaded")) {
    units.service_condition = ask_for_unmet_condition(system, SERVICE);
  }
  return units;
}

Causes find_unit_causes(const Upgrade_Units& units, bool are_wanted, system_clock::time_point now) {
  Causes causes;
  if (auto cause = find_timer_cause(units, now)) {
    if (!are_wanted) {
      cause->code = "upgrades.switched_off";
      cause->message = "package-minder does not keep automatic upgrades running, and nothing else does";
      cause->evidence = "minder.automatic_upgrades=false; " + cause->evidence;
      cause->remedy = "Set minder.automatic_upgrades to true in package-minder's settings, and restart it";
    }
    causes.push_back(*cause);
  }
  // Both come with one package.
  const bool are_missing =
      is(units.timer, "LoadState", "not-found") && is(units.service, "LoadState", "not-found");
  if (auto cause = find_service_cause(units); cause && !are_missing) {
    causes.push_back(*cause);
  }
  return causes;
}

std::optional<Cause> find_service_change(const Upgrade_Units& units, Host_Filesystem& filesystem) {
  std::istringstream files(value_of(units.service, "DropInPaths") + " " +
                           value_of(units.service, "FragmentPath"));
  for (std::string file; files >> file;) {
    std::istringstream lines(
        is_administrators(file) ? filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT) : "");
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
      ++number;
      boost::algorithm::trim(line);
      if (!is_harmless(line)) {
        return Cause{Cause_Effect::OBSCURES, "service.changed",
                     fmt::format("{} is changed in a way that may keep it from its work", SERVICE),
                     fmt::format("{}:{}: {}", file, number, line),
                     fmt::format("systemctl revert {}", SERVICE)};
      }
    }
  }
  return std::nullopt;
}

std::optional<std::vector<std::string>> words_of_automatic(const Upgrade_Units& units) {
  const std::string text = value_of(units.service, "ExecStart");
  const std::string mark = "argv[]=";
  const std::size_t begin = text.find(mark);
  const std::size_t end = text.find(" ; ", begin == std::string::npos ? 0 : begin);
  if (begin == std::string::npos || end == std::string::npos) {
    return std::nullopt;
  }
  std::vector<std::string> words;
  const std::string argv = text.substr(begin + mark.size(), end - begin - mark.size());
  boost::algorithm::split(words, argv, boost::algorithm::is_space(), boost::algorithm::token_compress_on);
  const std::string program = words.front().substr(words.front().rfind('/') + 1);
  if (program != PROGRAM) {
    return std::nullopt;
  }
  return words;
}

bool is_upgrading(const Upgrade_Units& units) {
  return is(units.service, "ActiveState", "activating");
}

std::optional<system_clock::time_point> next_run_of(const Upgrade_Units& units,
                                                    system_clock::time_point now) {
  return is(units.timer, "ActiveState", "active") ? next_time_of(units, now) : std::nullopt;
}

std::optional<system_clock::time_point> timer_start_of(const Upgrade_Units& units) {
  return time_from(value_of(units.timer, "ActiveEnterTimestamp"));
}

std::optional<Upgrade_Run> last_run_of(const Upgrade_Units& units) {
  const auto ended = time_from(value_of(units.service, "ExecMainExitTimestamp"));
  if (!ended || is_upgrading(units)) {
    return std::nullopt;
  }
  const std::string result = value_of(units.service, "Result");
  return Upgrade_Run{*ended, result == "success", result};
}

}  // namespace zant::velmora_host::dnf_outlook
