#include <zant/velmora_host/verdict/verdict.hpp>

#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/iso_time.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using velmora::Package_Constants::PACKAGE_NAME;

constexpr Enum_Names<Verdict_Kind, 5> NAMES = {{
    {Verdict_Kind::UP_TO_DATE, "up_to_date"},
    {Verdict_Kind::WAITING, "waiting"},
    {Verdict_Kind::OVERDUE, "overdue"},
    {Verdict_Kind::BLOCKED, "blocked"},
    {Verdict_Kind::CANNOT_BE_TOLD, "cannot_be_told"},
}};

constexpr std::size_t REMEMBERED_RUNS = 10;

bool has_cause(const Upgrade_Outlook& outlook, Cause_Effect effect) {
  return std::any_of(outlook.causes.begin(), outlook.causes.end(),
                     [effect](const Cause& cause) { return cause.effect == effect; });
}

void remember_installed(Upgrade_History& history, const std::string& version, system_clock::time_point now) {
  if (version.empty() || (history.installed && history.installed->version == version)) {
    return;
  }
  if (history.installed) {
    history.version_changed = now;
    // What is offered beyond the new version has been so for an unknown time: from now on it is counted.
    history.offered.reset();
  }
  history.installed = {version, now};
}

// A further version while an older one waits does not begin the wait anew.
void remember_offered(Upgrade_History& history, const Upgrade_Outlook& outlook,
                      system_clock::time_point now) {
  if (outlook.newer_is_offered) {
    history.offered = {outlook.offered, history.offered ? history.offered->since : now};
  } else if (!has_cause(outlook, Cause_Effect::OBSCURES)) {
    // Tools that fail say nothing of what is offered.
    history.offered.reset();
  }
}

void remember_run(Upgrade_History& history, const std::optional<Upgrade_Run>& run) {
  if (!run || (!history.runs.empty() && history.runs.back().ended >= run->ended)) {
    return;
  }
  history.runs.push_back(*run);
  if (history.runs.size() > REMEMBERED_RUNS) {
    history.runs.erase(history.runs.begin());
  }
}

void correct_times(Upgrade_History& history, system_clock::time_point now) {
  if (history.offered) {
    history.offered->since = std::min(history.offered->since, now);
  }
  if (history.installed) {
    history.installed->since = std::min(history.installed->since, now);
  }
  if (history.version_changed) {
    history.version_changed = std::min(*history.version_changed, now);
  }
  // They would hide all that come now.
  std::erase_if(history.runs, [now](const Upgrade_Run& run) { return run.ended > now; });
}

std::string installed_of(const Upgrade_Outlook& outlook) {
  return outlook.installed.empty() ? PACKAGE_NAME : fmt::format("{} {}", PACKAGE_NAME, outlook.installed);
}

std::string when(const std::optional<system_clock::time_point>& time) {
  return time ? "at " + to_iso_time(*time) : "at an unknown time";
}

// None where nothing tells what is installed.
std::string words_of_first_cause(const Upgrade_Outlook& outlook, Cause_Effect effect) {
  const auto cause = std::find_if(outlook.causes.begin(), outlook.causes.end(),
                                  [effect](const Cause& candidate) { return candidate.effect == effect; });
  return cause == outlook.causes.end() ? "the host's tools do not tell which version is installed"
                                       : cause->message;
}

}  // namespace

const char* to_string(Verdict_Kind kind) {
  return name_of(NAMES, kind);
}

std::optional<Verdict_Kind> verdict_kind_from(std::string_view name) {
  return value_of(NAMES, name);
}

Upgrade_History remembered(Upgrade_History history, const Upgrade_Outlook& outlook,
                           system_clock::time_point now) {
  correct_times(history, now);
  remember_installed(history, outlook.installed, now);
  if (!outlook.installed.empty() && !outlook.offered.empty()) {
    remember_offered(history, outlook, now);
  }
  remember_run(history, outlook.last_run);
  return history;
}

Verdict_Kind judge(const Upgrade_Outlook& outlook, const Upgrade_History& history,
                   std::chrono::seconds overdue_after, system_clock::time_point now) {
  if (has_cause(outlook, Cause_Effect::BLOCKS)) {
    return Verdict_Kind::BLOCKED;
  }
  if (has_cause(outlook, Cause_Effect::OBSCURES) || outlook.installed.empty()) {
    return Verdict_Kind::CANNOT_BE_TOLD;
  }
  if (!outlook.newer_is_offered) {
    return Verdict_Kind::UP_TO_DATE;
  }
  const bool is_overdue = history.offered && now - history.offered->since > overdue_after;
  return is_overdue ? Verdict_Kind::OVERDUE : Verdict_Kind::WAITING;
}

std::chrono::seconds offered_for(const Verdict& verdict) {
  using std::chrono::seconds;
  if (!verdict.history.offered) {
    return seconds(0);
  }
  // A record that is read may say anything.
  return std::max(seconds(0),
                  std::chrono::duration_cast<seconds>(verdict.found - verdict.history.offered->since));
}

bool is_command(const std::string& remedy) {
  return !remedy.empty() && std::isupper(static_cast<unsigned char>(remedy.front())) == 0;
}

std::string with_remedy(const Cause& cause) {
  if (cause.remedy.empty()) {
    return cause.message;
  }
  return is_command(cause.remedy) ? fmt::format("{}: run \"{}\"", cause.message, cause.remedy)
                                  : fmt::format("{}. {}", cause.message, cause.remedy);
}

std::string describe(const Verdict& verdict) {
  const Upgrade_Outlook& outlook = verdict.outlook;
  switch (verdict.kind) {
    case Verdict_Kind::UP_TO_DATE:
      return fmt::format("up to date: {}", installed_of(outlook));
    case Verdict_Kind::WAITING:
      return fmt::format("waiting: {}, {} is offered and will be installed {}", installed_of(outlook),
                         outlook.offered, when(outlook.next_run));
    case Verdict_Kind::OVERDUE:
      return fmt::format("overdue: {}, {} has been offered since {} and nothing is known that stops it",
                         installed_of(outlook), outlook.offered,
                         verdict.history.offered ? to_iso_time(verdict.history.offered->since) : "long ago");
    case Verdict_Kind::BLOCKED:
      return fmt::format("blocked: {}{}: {}", installed_of(outlook),
                         outlook.newer_is_offered ? fmt::format(", {} is offered", outlook.offered) : "",
                         words_of_first_cause(outlook, Cause_Effect::BLOCKS));
    case Verdict_Kind::CANNOT_BE_TOLD:
      return fmt::format("cannot be told: {}", words_of_first_cause(outlook, Cause_Effect::OBSCURES));
  }
  throw std::logic_error("Invalid enumeration value");
}

}  // namespace zant::velmora_host
