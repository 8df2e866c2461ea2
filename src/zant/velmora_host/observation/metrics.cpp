#include <zant/velmora_host/observation/metrics.hpp>

#include <zant/velmora_host/base/printable.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string_view>

namespace zant::velmora_host {
namespace {

std::string head(const char* name, const char* type, const char* help) {
  return fmt::format("# HELP package_minder_{0} {2}\n# TYPE package_minder_{0} {1}\n", name, type, help);
}

template <typename Value>
std::string single(const char* name, const char* type, const char* help, Value value) {
  return head(name, type, help) + fmt::format("package_minder_{} {}\n", name, value);
}

// A series that only appears with its first event would hide that event from a rate.
template <typename Kind, std::size_t Size>
std::string by_kind(const char* name, const char* help, const std::array<Kind, Size>& kinds,
                    const std::map<Kind, std::uint64_t>& counts) {
  std::string text = head(name, "counter", help);
  for (const Kind kind : kinds) {
    const auto count = counts.find(kind);
    text += fmt::format("package_minder_{}{{kind=\"{}\"}} {}\n", name, to_string(kind),
                        count == counts.end() ? 0 : count->second);
  }
  return text;
}

long long seconds_of(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

std::string key_expiry(const std::vector<Signing_Key>& keys) {
  const char* const name = "key_expiry_timestamp_seconds";
  std::string text;
  for (const auto& key : keys) {
    if (key.expiry) {
      text += fmt::format("package_minder_{}{{fingerprint=\"{}\"}} {}\n", name, key.fingerprint,
                          seconds_of(*key.expiry));
    }
  }
  return text.empty() ? "" : head(name, "gauge", "When a key that packages are checked with expires.") + text;
}

// As the exposition format wants it. A version is what a repository says.
std::string label_value(std::string_view text) {
  std::string escaped;
  for (const char character : printable(text)) {
    if (character == '\\' || character == '"') {
      escaped += '\\';
    }
    escaped += character;
  }
  return escaped;
}

std::string timestamp(const char* name, const char* help,
                      const std::optional<std::chrono::system_clock::time_point>& time) {
  return time ? single(name, "gauge", help, seconds_of(*time)) : "";
}

std::string verdict_states(const Verdict& verdict) {
  std::string text = head("verdict", "gauge", "Whether the package upgrades on this host: 1 for what holds.");
  for (const Verdict_Kind kind : VERDICT_KINDS) {
    text += fmt::format("package_minder_verdict{{verdict=\"{}\"}} {}\n", to_string(kind),
                        kind == verdict.kind ? 1 : 0);
  }
  return text;
}

std::string causes_by_code(const Causes& causes) {
  std::set<std::string> codes;
  for (const auto& cause : causes) {
    codes.insert(label_value(cause.code));
  }
  std::string text;
  for (const auto& code : codes) {
    text += fmt::format("package_minder_cause{{code=\"{}\"}} 1\n", code);
  }
  return text.empty() ? "" : head("cause", "gauge", "Why the package does not upgrade, by code.") + text;
}

// The verdict may be hours old: the time goes on.
long long offered_seconds(const Verdict& verdict, std::chrono::system_clock::time_point now) {
  const auto& offered = verdict.history.offered;
  return offered ? std::max(0LL, seconds_of(now) - seconds_of(offered->since)) : 0;
}

std::string last_run(const std::optional<Upgrade_Run>& run) {
  return run ? single("upgrade_run_timestamp_seconds", "gauge", "When the host's upgrade service last ended.",
                      seconds_of(run->ended)) +
                   single("upgrade_run_success", "gauge",
                          "Whether the last run of the host's upgrade service succeeded.",
                          run->succeeded ? 1 : 0)
             : "";
}

std::string of_verdict(const Verdict& verdict, std::chrono::system_clock::time_point now) {
  const Upgrade_Outlook& outlook = verdict.outlook;
  std::string text = head("package_info", "gauge", "The version that is installed and the newest offered.");
  text += fmt::format("package_minder_package_info{{installed=\"{}\",offered=\"{}\"}} 1\n",
                      label_value(outlook.installed), label_value(outlook.offered));
  text += verdict_states(verdict) + causes_by_code(outlook.causes);
  text += single("newer_version_offered_seconds", "gauge",
                 "How long a newer version has been offered without being installed.",
                 offered_seconds(verdict, now));
  text += timestamp("verdict_timestamp_seconds", "When the verdict was found.", verdict.found);
  text += timestamp("refresh_timestamp_seconds", "When the repository last answered.", outlook.refreshed);
  text +=
      timestamp("next_upgrade_run_timestamp_seconds", "When the host's upgrades run next.", outlook.next_run);
  text += timestamp("version_change_timestamp_seconds", "When the installed version last changed.",
                    verdict.history.version_changed);
  return text + last_run(outlook.last_run);
}

}  // namespace

std::string metrics_text(const Cycle_State& state, const std::optional<Verdict>& verdict,
                         const std::vector<Signing_Key>& keys, bool is_installation_stalled,
                         std::chrono::system_clock::time_point now) {
  const auto& history = state.history;
  std::string text = single("cycles_total", "counter", "Cycles that were begun.", history.cycles);
  text += by_kind("failures_total", "Failed steps of cycles, by step.", CYCLE_STEPS, history.failures);
  text += by_kind("drift_repaired_total", "Files that somebody had changed and that were put back, by kind.",
                  FILE_KINDS, history.repairs);
  text += single("holds_released_total", "counter", "Holds on the package that were released.",
                 history.holds_released);
  if (history.last_success) {
    text += single("last_success_timestamp_seconds", "gauge", "When a cycle last succeeded.",
                   seconds_of(*history.last_success));
  }
  text += single("last_cycle_duration_seconds", "gauge", "How long the last cycle took.",
                 state.last_cycle.seconds);
  text += single("installation_stalled", "gauge", "Whether an installation makes no progress for an hour.",
                 is_installation_stalled ? 1 : 0);
  if (verdict) {
    text += of_verdict(*verdict, now);
  }
  return text + key_expiry(keys);
}

}  // namespace zant::velmora_host
