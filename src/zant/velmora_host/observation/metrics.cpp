#include <zant/velmora_host/observation/metrics.hpp>

#include <fmt/format.h>

#include <array>
#include <map>

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
  return text.empty() ? "" : head(name, "gauge", "When a key of the repository's keyring expires.") + text;
}

}  // namespace

std::string metrics_text(const Cycle_State& state, const std::vector<Signing_Key>& keys) {
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
  return text + key_expiry(keys);
}

}  // namespace zant::velmora_host
