#include <fuzz/told_records.hpp>

#include <zant/velmora_host/observation/metrics.hpp>
#include <zant/velmora_host/reports/monitoring.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <fuzz/require.hpp>
#include <fuzz/told_outlook.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace zant::velmora_host {
namespace {

Status status_of(const std::optional<Cycle_State>& cycles,
                 const std::optional<Stalled_Installation>& stalled) {
  Status status;
  status.family = "APT";
  status.init = velmora::Init::systemd;
  status.service_state = "active";
  status.cycles = cycles;
  status.stalled_installation = stalled;
  return status;
}

// As a reader of metrics takes them: each line is a comment, or a name and one value.
void require_metrics(const std::string& text) {
  require_harmless(text);
  require(text.ends_with('\n'));
  for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
    const std::string line = text.substr(begin, text.find('\n', begin) - begin);
    require(line.starts_with("# ") || line.starts_with("package_minder_"));
  }
}

}  // namespace

void require_tellable(const std::optional<Cycle_State>& cycles,
                      const std::optional<Stalled_Installation>& stalled) {
  const Status status = status_of(cycles, stalled);
  require_harmless(to_text(status));
  const auto document = nlohmann::json::parse(to_json_text(status));
  require(document.at("last_cycle").is_null() == !cycles.has_value());
  const std::string line = to_monitoring_line(status);
  require_harmless(line);
  require(line.find('\n') == line.size() - 1 && std::count(line.begin(), line.end(), '|') == 1);
  const auto now = std::chrono::system_clock::from_time_t(1795348800);
  require_metrics(metrics_text(cycles.value_or(Cycle_State{}), {}, {}, stalled.has_value(), now));
}

}  // namespace zant::velmora_host
