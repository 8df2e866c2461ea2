#include <zant/velmora_host/reports/monitoring.hpp>

#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/printable.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace zant::velmora_host {
namespace {

constexpr Enum_Names<Monitoring_State, 4> STATE_NAMES = {{
    {Monitoring_State::OK, "OK"},
    {Monitoring_State::WARNING, "WARNING"},
    {Monitoring_State::CRITICAL, "CRITICAL"},
    {Monitoring_State::UNKNOWN, "UNKNOWN"},
}};

// Performance data begins at the first "|".
std::string without_separator(const std::string& text) {
  std::string line = printable(text);
  std::replace(line.begin(), line.end(), '|', '/');
  return line;
}

// What the verdict's own line does not say already.
std::string other_reasons(const Status& status) {
  std::string codes;
  for (const auto& reason : status.reasons) {
    codes += (codes.empty() ? "; needs attention: " : ", ") + reason.code;
  }
  return codes;
}

// "NAME=VALUE[UNIT];WARN;CRIT;MIN".
std::string performance_data(const Status& status) {
  using std::chrono::seconds;
  const Verdict& verdict = status.verdict;
  std::string data = fmt::format("offered_seconds={}s;{};;0 reasons={};0;;0", offered_for(verdict).count(),
                                 status.overdue_after.count(), status.reasons.size());
  if (verdict.outlook.refreshed) {
    const auto age = std::chrono::duration_cast<seconds>(verdict.found - *verdict.outlook.refreshed);
    data += fmt::format(" refresh_age_seconds={}s;;;0", std::max(age, seconds(0)).count());
  }
  return data;
}

}  // namespace

Monitoring_State monitoring_state(const Status& status) {
  switch (status.verdict.kind) {
    case Verdict_Kind::BLOCKED:
      return Monitoring_State::CRITICAL;
    case Verdict_Kind::CANNOT_BE_TOLD:
      return Monitoring_State::UNKNOWN;
    case Verdict_Kind::OVERDUE:
      return Monitoring_State::WARNING;
    default:
      return status.reasons.empty() ? Monitoring_State::OK : Monitoring_State::WARNING;
  }
}

std::string to_monitoring_line(const Status& status) {
  return fmt::format("PACKAGE_MINDER {} - {}{} | {}\n", name_of(STATE_NAMES, monitoring_state(status)),
                     without_separator(describe(status.verdict)), other_reasons(status),
                     performance_data(status));
}

std::string to_unknown_monitoring_line(const std::string& reason) {
  return fmt::format("PACKAGE_MINDER {} - {}\n", name_of(STATE_NAMES, Monitoring_State::UNKNOWN),
                     without_separator(reason));
}

}  // namespace zant::velmora_host
