#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/settings/address_credentials.hpp>
#include <zant/velmora_host/settings/package_patterns.hpp>
#include <zant/velmora_host/settings/reference_expansion.hpp>
#include <zant/velmora_host/settings/setting_layers.hpp>
#include <zant/velmora_host/settings/setting_table.hpp>

#include <Poco/Util/MapConfiguration.h>
#include <fmt/format.h>

#include <map>
#include <optional>

namespace zant::velmora_host {
namespace {

using Poco::AutoPtr;
using Poco::Util::LayeredConfiguration;
using Poco::Util::MapConfiguration;

std::string find_value_fault(const Setting& setting, const Reference_Expansion::Result& expanded) {
  switch (expanded.fault) {
    case Reference_Expansion::Fault::TOO_LONG:
      return "must not be that long";
    case Reference_Expansion::Fault::HIDDEN:
      return "must not put a reference ${...} together from parts";
    default:
      break;
  }
  const std::string fault = setting.rule.find_fault(expanded.value);
  // The files that it goes into are read by programs which such bytes end.
  return fault.empty() && !is_plain_text(expanded.value) ? "must be UTF-8 text without control characters"
                                                         : fault;
}

std::optional<Finding> judge(const Setting& setting, const std::string& place,
                             const Reference_Expansion::Result& expanded) {
  if (expanded.fault == Reference_Expansion::Fault::CIRCLE) {
    return Finding{place, setting.key + " refers to itself",
                   "a reference ${...} names another key, and never in a circle",
                   "settings.circular_reference"};
  }
  if (expanded.value.empty() && setting.is_unset_when_empty()) {
    return std::nullopt;
  }
  const std::string remedy = find_value_fault(setting, expanded);
  if (remedy.empty()) {
    return std::nullopt;
  }
  return Finding{
      place, fmt::format("{} is \"{}\"", setting.key, printable(address_credentials::masked(expanded.value))),
      remedy, "settings.bad_value"};
}

Finding unknown_key(const Written_Setting& written, const Setting_Table& table) {
  const auto nearest = table.nearest_key(written.key);
  return {written.place, "unknown key " + printable(written.key),
          nearest ? "did you mean " + *nearest + "?" : "package-minder.properties(5) lists the known keys",
          "settings.unknown_key"};
}

using Written_By_Key = std::map<std::string, Written_Setting>;

// What is overridden has no effect and is not judged; a key that does not exist is a mistake wherever it
// stands.
Written_By_Key pick_winners(const Setting_Layers& layers, const Setting_Table& table, Findings& findings) {
  Written_By_Key winners;
  for (const auto& written : layers.settings) {
    if (table.find(written.key) == nullptr) {
      findings.push_back(unknown_key(written, table));
    } else {
      winners[written.key] = written;
    }
  }
  return winners;
}

// A default of the library is the library's business, which knows the host.
bool has_default_here(const Setting& setting) {
  return (setting.group == Setting_Group::PROGRAM || setting.replaces_library_default) &&
         !setting.default_value.empty();
}

Reference_Expansion make_expansion(const Written_By_Key& winners, const Setting_Table& table) {
  std::map<std::string, std::string> values;
  for (const auto& setting : table.settings()) {
    if (const auto winner = winners.find(setting.key); winner != winners.end()) {
      values[setting.key] = winner->second.value;
    } else if (has_default_here(setting)) {
      values[setting.key] = setting.default_value;
    }
  }
  return Reference_Expansion(std::move(values));
}

std::vector<Effective_Setting> make_effective(const Written_By_Key& winners, const Setting_Table& table,
                                              Findings& findings) {
  std::vector<Effective_Setting> all;
  Reference_Expansion expansion = make_expansion(winners, table);
  for (const auto& setting : table.settings()) {
    const auto winner = winners.find(setting.key);
    if (winner == winners.end()) {
      all.push_back(
          {setting.key, has_default_here(setting) ? setting.default_value : "", Setting_Source::DEFAULT, ""});
      continue;
    }
    const Written_Setting& written = winner->second;
    const Reference_Expansion::Result& expanded = expansion.expand(setting.key);
    if (const auto finding = judge(setting, written.place, expanded)) {
      findings.push_back(*finding);
    }
    all.push_back({setting.key, expanded.value, written.source, written.place});
  }
  return all;
}

AutoPtr<LayeredConfiguration> make_configuration(const std::vector<Effective_Setting>& all,
                                                 const Setting_Table& table) {
  AutoPtr<MapConfiguration> values(new MapConfiguration);
  for (const auto& setting : all) {
    const bool is_set = setting.source != Setting_Source::DEFAULT || !setting.value.empty();
    if (is_set && !(setting.value.empty() && table.find(setting.key)->is_unset_when_empty())) {
      values->setString(setting.key, setting.value);
    }
  }
  AutoPtr<LayeredConfiguration> configuration(new LayeredConfiguration);
  configuration->add(values, 0);
  return configuration;
}

}  // namespace

const char* to_string(Setting_Source source) {
  switch (source) {
    case Setting_Source::FILE:
      return "file";
    case Setting_Source::SERVER:
      return "server";
    case Setting_Source::OVERRIDES:
      return "overrides";
    default:
      return "default";
  }
}

struct Settings::Data {
  boost::filesystem::path file;
  std::vector<Effective_Setting> all;
  AutoPtr<LayeredConfiguration> configuration;
};

Settings::Settings(const Settings_Sources& sources) {
  const Setting_Table& table = setting_table();
  const Setting_Layers layers = read_setting_layers(sources);
  Findings findings = layers.faults;
  const Written_By_Key winners = pick_winners(layers, table, findings);
  auto all = make_effective(winners, table, findings);
  refuse_if_any(findings);
  auto configuration = make_configuration(all, table);
  data_ = std::make_shared<const Data>(Data{sources.file, std::move(all), std::move(configuration)});
}

const LayeredConfiguration& Settings::configuration() const {
  return *data_->configuration;
}

const boost::filesystem::path& Settings::file() const noexcept {
  return data_->file;
}

const std::vector<Effective_Setting>& Settings::all() const noexcept {
  return data_->all;
}

std::chrono::seconds Settings::interval() const {
  return seconds_("minder.interval");
}

bool Settings::automatic_upgrades() const {
  return configuration().getBool("minder.automatic_upgrades");
}

bool Settings::purge_on_removal() const {
  return configuration().getBool("minder.purge_on_removal");
}

std::vector<std::string> Settings::repository_packages() const {
  return package_patterns::split(configuration().getString("minder.repository_packages", ""));
}

boost::filesystem::path Settings::staging_directory() const {
  return configuration().getString("minder.staging_directory", "");
}

boost::filesystem::path Settings::state_directory() const {
  return configuration().getString("minder.state_directory");
}

std::chrono::seconds Settings::command_time_limit() const {
  return seconds_("minder.command_time_limit");
}

std::chrono::seconds Settings::command_kill_delay() const {
  return seconds_("minder.command_kill_delay");
}

boost::filesystem::path Settings::metrics_file() const {
  return configuration().getString("minder.metrics_file", "");
}

std::chrono::hours Settings::overdue_after() const {
  constexpr int HOURS_OF_A_DAY = 24;
  return std::chrono::hours(HOURS_OF_A_DAY) * configuration().getInt("minder.overdue_after");
}

std::chrono::seconds Settings::verdict_interval() const {
  return seconds_("minder.verdict_interval");
}

zant::logging::severity_level Settings::log_level() const {
  return zant::logging::severity_level_from_string(configuration().getString("minder.log.level")).value();
}

Log_Format Settings::log_format() const {
  const std::string format = configuration().getString("minder.log.format");
  if (format == "auto") {
    return Log_Format::AUTO;
  }
  return format == "journal" ? Log_Format::JOURNAL : Log_Format::TERMINAL;
}

std::chrono::seconds Settings::seconds_(const char* key) const {
  return std::chrono::seconds(configuration().getInt(key));
}

}  // namespace zant::velmora_host
