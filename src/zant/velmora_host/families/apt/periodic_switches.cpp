#include <zant/velmora_host/families/apt/periodic_switches.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using std::chrono::hours;
using std::chrono::seconds;
using std::chrono::system_clock;

struct Work {
  const char* item;
  const char* code;
  const char* what;
  const char* stamp;
};

constexpr Work REFRESH = {"APT::Periodic::Update-Package-Lists", "periodic.refresh_off",
                          "the package lists are not refreshed", "/var/lib/apt/periodic/update-stamp"};
constexpr Work UPGRADE = {"APT::Periodic::Unattended-Upgrade", "periodic.upgrades_off",
                          "nothing is upgraded unattended", "/var/lib/apt/periodic/upgrade-stamp"};

bool is_zero(const std::string& value) {
  return !value.empty() && value.find_first_not_of('0') == std::string::npos;
}

Causes find_switch(const APT_Settings& settings, const Work& work) {
  const auto value = settings.value(work.item);
  if (!value) {
    return {blocks(work.code, fmt::format("{}: {} is not set", work.what, work.item),
                   fmt::format("apt-config dump: there is no {}", work.item),
                   settings.without(settings.place_of_clearing(work.item), "package-minder once"))};
  }
  if (*value != "0") {
    return {};
  }
  return {blocks(work.code, fmt::format("{}: {} is \"0\"", work.what, work.item),
                 settings.evidence(work.item, *value),
                 settings.without(settings.place_of(work.item, *value), configuring(work.item, "always")))};
}

// "7", "7d", "36h", "90m", "5s"; nothing for a value that is always due. The script of APT's counts whole
// days of the calendar.
std::optional<seconds> interval_of(const std::string& value) {
  const std::size_t digits = std::min(value.find_first_not_of("0123456789"), value.size());
  if (digits == 0 || digits > 8) {
    return std::nullopt;
  }
  const long number = std::stol(value.substr(0, digits));
  const std::string unit = value.substr(digits);
  if (unit == "s") {
    return seconds(number);
  }
  if (unit == "m") {
    return std::chrono::minutes(number);
  }
  return unit == "h" ? hours(number) : hours(24 * number);
}

system_clock::time_point midnight_of(system_clock::time_point time) {
  const std::time_t value = system_clock::to_time_t(time);
  std::tm local{};
  localtime_r(&value, &local);
  local.tm_hour = local.tm_min = local.tm_sec = 0;
  local.tm_isdst = -1;
  return system_clock::from_time_t(std::mktime(&local));
}

bool is_due(system_clock::time_point stamp, seconds interval, system_clock::time_point time) {
  const auto day = midnight_of(time);
  const auto stamped = midnight_of(stamp);
  // A stamp from the future is thrown away by APT's script.
  return stamped > day + hours(24) || std::chrono::duration_cast<seconds>(day - stamped) >= interval;
}

Causes find_delay(const Outlook_Question& question, const APT_Settings& settings, const Work& work,
                  const std::optional<system_clock::time_point>& next) {
  const std::string value = settings.value(work.item).value_or("");
  const auto interval = interval_of(value);
  if (!interval || value == "0") {
    return {};
  }
  const auto answer = ask(question, fmt::format("stat --format=%Y {}", work.stamp));
  const auto stamp = answer.succeeded() ? parse_epoch(answer.words) : std::nullopt;
  if (!stamp || is_due(*stamp, *interval, question.now) || (next && is_due(*stamp, *interval, *next))) {
    return {};
  }
  return {blocks("periodic.not_due",
                 fmt::format("{} in the next run: {} is \"{}\", and it was last done at {}", work.what,
                             work.item, value, to_iso_time(*stamp)),
                 settings.evidence(work.item, value),
                 settings.without(settings.place_of(work.item, value), configuring(work.item, "always")))};
}

// A value that the shell cannot calculate with ends APT's script, whatever else it was to do.
Causes find_unreadable(const APT_Settings& settings, const Work& work) {
  const std::string value = settings.value(work.item).value_or("0");
  const std::size_t digits = std::min(value.find_first_not_of("0123456789"), value.size());
  static const std::array<std::string, 5> units = {"", "s", "m", "h", "d"};
  const bool is_known = value == "always" || (digits > 0 && std::find(units.begin(), units.end(),
                                                                      value.substr(digits)) != units.end());
  if (is_known) {
    return {};
  }
  return {obscures("periodic.unreadable", fmt::format("{} is \"{}\", which is no interval", work.item, value),
                   settings.evidence(work.item, value),
                   settings.without(settings.place_of(work.item, value), configuring(work.item, "always")))};
}

}  // namespace

Causes find_periodic_switches(const APT_Settings& settings) {
  Causes causes;
  const std::string enable = "APT::Periodic::Enable";
  if (const auto value = settings.value(enable); value && is_zero(*value)) {
    causes.push_back(blocks("periodic.off",
                            fmt::format("APT's periodic work is switched off: {} is \"{}\"", enable, *value),
                            settings.evidence(enable, *value),
                            settings.without(settings.place_of(enable, *value), configuring(enable, "1"))));
  }
  for (const auto& work : {REFRESH, UPGRADE}) {
    append(causes, find_switch(settings, work));
    append(causes, find_unreadable(settings, work));
  }
  return causes;
}

Causes find_periodic_delays(const Outlook_Question& question, const APT_Settings& settings,
                            const Upgrade_Units& units) {
  Causes causes = find_delay(question, settings, REFRESH, units.next_refresh);
  append(causes, find_delay(question, settings, UPGRADE, units.next_run));
  return causes;
}

}  // namespace zant::velmora_host::apt_outlook
