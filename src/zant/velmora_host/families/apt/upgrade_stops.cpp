#include <zant/velmora_host/families/apt/upgrade_stops.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/upgrade_program.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using Json = nlohmann::json;
using std::chrono::hours;

// The first answer is about today, the second about the next run.
void judge_days(const APT_Settings& settings, const Upgrade_Units& units, const std::vector<bool>& days,
                Upgrade_Stops& found) {
  const auto first = std::find(days.begin() + 1, days.end(), true);
  const bool is_allowed = days.at(0) || days.at(1);
  const std::string item = "Unattended-Upgrade::Update-Days";
  if (first != days.end() && first != days.begin() + 1 && units.next_run) {
    found.next_run = *units.next_run + hours(24 * (first - days.begin() - 1));
  }
  if (is_allowed) {
    return;
  }
  const std::string value = settings.value(item + "::").value_or("");
  found.causes.push_back(blocks(
      "upgrades.not_today",
      first == days.end()
          ? "on no day of the week is anything upgraded unattended"
          : fmt::format("the next run upgrades nothing: its day is none of those that are allowed"),
      settings.evidence(item, value), settings.without(settings.place_of(item, value), clearing(item))));
}

void judge_stops(const APT_Settings& settings, const Json& answer, Causes& causes) {
  const std::string stop = answer.value("stop", "");
  if (stop.find("battery") != std::string::npos) {
    causes.push_back(blocks("power.on_battery", "unattended-upgrade stops while the host is on battery", stop,
                            "Connect the host to mains power"));
  } else if (stop.find("metered") != std::string::npos) {
    causes.push_back(blocks("network.metered",
                            "unattended-upgrade stops while the host's connection is metered", stop,
                            configuring("Unattended-Upgrade::Skip-Updates-On-Metered-Connections", "false")));
  } else if (!stop.empty()) {
    causes.push_back(failed_program("ask", stop));
  }
  if (answer.value("on_shutdown", false)) {
    const std::string item = "Unattended-Upgrade::InstallOnShutdown";
    const std::string value = settings.value(item).value_or("");
    causes.push_back(blocks("upgrades.on_shutdown_only",
                            "upgrades are only installed when the host shuts down",
                            settings.evidence(item, value),
                            settings.without(settings.place_of(item, value), configuring(item, "false"))));
  }
}

}  // namespace

Upgrade_Stops find_upgrade_stops(const APT_Settings& settings, const Upgrade_Units& units,
                                 const Json& answer) {
  Upgrade_Stops found;
  const Json& days = answer.at("days");
  static_cast<void>(days.at(1));  // an answer without it is refused as others that lack something
  judge_days(settings, units, days.get<std::vector<bool>>(), found);
  judge_stops(settings, answer, found.causes);
  return found;
}

}  // namespace zant::velmora_host::apt_outlook
