#include <standalone_host/settings/settings.hpp>

#include <standalone_host/exit_status.hpp>
#include <standalone_host/finding.hpp>
#include <standalone_host/platform/host_defaults.hpp>
#include <standalone_host/printable.hpp>
#include <standalone_host/refusal.hpp>
#include <standalone_host/settings/setting_rules.hpp>

#include <Poco/Exception.h>
#include <Poco/Util/MapConfiguration.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace zant::velmora::standalone_host {
namespace {

using Poco::AutoPtr;
using Poco::Util::AbstractConfiguration;
using Poco::Util::LayeredConfiguration;
using Poco::Util::MapConfiguration;
using Poco::Util::PropertyFileConfiguration;

constexpr std::size_t LONGEST_VALUE = 4096;

// One layer, and what to call it in front of the administrator.
struct Layer {
  std::string name;
  AutoPtr<AbstractConfiguration> configuration;
};

[[noreturn]] void refuse_file(const boost::filesystem::path& file, const std::string& what,
                              const std::string& remedy) {
  throw Refusal(Exit_Status::BAD_SETTINGS,
                Findings{{file.string(), what, remedy, Finding_Code::UNREADABLE_SETTINGS}});
}

std::string read_settings_file(const boost::filesystem::path& file) {
  boost::system::error_code ignored;
  if (boost::filesystem::is_directory(file, ignored)) {
    refuse_file(file, "is a directory", "name a settings file");
  }
  errno = 0;
  std::ifstream stream(file.c_str(), std::ios::binary);
  std::ostringstream contents;
  contents << stream.rdbuf();
  const std::string text = contents.str();
  if (!stream.is_open() || stream.bad()) {
    const int error_number = errno != 0 ? errno : EIO;
    refuse_file(file, "cannot be read: " + std::generic_category().message(error_number),
                "it must be readable by the administrator");
  }
  if (text.find('\0') != std::string::npos) {
    refuse_file(file, "is not a text file", "it consists of lines KEY = VALUE");
  }
  return text;
}

AutoPtr<AbstractConfiguration> load_settings_file(const Settings_Sources& sources) {
  boost::system::error_code error;
  const auto status = boost::filesystem::status(sources.file, error);
  if (status.type() == boost::filesystem::file_not_found && !sources.file_is_required) {
    return AutoPtr<AbstractConfiguration>(new MapConfiguration);
  }
  // From memory: on a stream that fails, Poco's parsers do not come to an end.
  std::istringstream text(read_settings_file(sources.file));
  return AutoPtr<AbstractConfiguration>(new PropertyFileConfiguration(text));
}

AutoPtr<AbstractConfiguration> make_overrides(const Settings_Sources& sources) {
  AutoPtr<MapConfiguration> overrides(new MapConfiguration);
  for (const auto& [key, value] : sources.overrides) {
    overrides->setString(key, value);
  }
  return overrides;
}

AutoPtr<AbstractConfiguration> make_defaults() {
  AutoPtr<MapConfiguration> defaults(new MapConfiguration);
  defaults->setString("minder.interval", "3600");
  defaults->setString("minder.automatic_upgrades", "true");
  defaults->setString("minder.purge_on_removal", "false");
  defaults->setString("minder.command_time_limit", "1800");
  defaults->setString("minder.command_kill_delay", "10");
  defaults->setString("minder.metrics_file", "");
  defaults->setString("minder.log.level", "info");
  defaults->setString("minder.log.format", "auto");
  for (const auto& [key, value] : Host_Defaults::directories()) {
    defaults->setString(key, value);
  }
  return defaults;
}

// Every key with a value, in full. A key can have a value and further keys below it.
void collect_keys(const AbstractConfiguration& configuration, const std::string& parent,
                  std::vector<std::string>& found) {
  AbstractConfiguration::Keys names;
  configuration.keys(parent, names);
  for (const auto& name : names) {
    const std::string key = parent.empty() ? name : parent + "." + name;
    if (configuration.hasProperty(key)) {
      found.push_back(key);
    }
    collect_keys(configuration, key, found);
  }
}

bool is_reserved(const std::string& key) {
  return key == "package" || key == "minder" || boost::algorithm::starts_with(key, "package.") ||
         boost::algorithm::starts_with(key, "minder.");
}

std::optional<Finding> judge(const Layer& layer, const std::string& key,
                             const LayeredConfiguration& configuration) {
  const Setting_Rule* rule = find_setting_rule(key);
  if (rule == nullptr) {
    return Finding{layer.name, "unknown key " + printable(key), "known keys are " + known_setting_keys(key),
                   "settings.unknown_key"};
  }
  std::string value;
  try {
    value = configuration.getString(key);
  } catch (const Poco::Exception&) {
    return Finding{layer.name, key + " refers to itself",
                   "a reference ${...} names another key, and never in a circle",
                   "settings.circular_reference"};
  }
  const std::string remedy = value.size() > LONGEST_VALUE ? "must not be that long" : rule->find_fault(value);
  if (remedy.empty()) {
    return std::nullopt;
  }
  return Finding{layer.name, fmt::format("{} is \"{}\"", key, printable(value)), remedy,
                 "settings.bad_value"};
}

// A bad value is reported where it stands, and only there: what is overridden has no effect.
Findings judge_layers(const std::vector<Layer>& by_precedence, const LayeredConfiguration& configuration) {
  Findings findings;
  std::vector<std::string> judged;
  for (const auto& layer : by_precedence) {
    std::vector<std::string> keys;
    collect_keys(*layer.configuration, "", keys);
    for (const auto& key : keys) {
      if (!is_reserved(key) || std::find(judged.begin(), judged.end(), key) != judged.end()) {
        continue;
      }
      judged.push_back(key);
      if (const auto finding = judge(layer, key, configuration)) {
        findings.push_back(*finding);
      }
    }
  }
  return findings;
}

}  // namespace

Settings::Settings(const Settings_Sources& sources)
    : file_(sources.file), configuration_(new LayeredConfiguration) {
  const std::vector<Layer> by_precedence = {{"--set", make_overrides(sources)},
                                            {sources.file.string(), load_settings_file(sources)},
                                            {"defaults", make_defaults()}};
  int priority = 0;
  for (const auto& layer : by_precedence) {
    configuration_->add(layer.configuration, priority++);
  }
  const Findings findings = judge_layers(by_precedence, *configuration_);
  if (!findings.empty()) {
    throw Refusal(Exit_Status::BAD_SETTINGS, findings);
  }
}

std::chrono::seconds Settings::interval() const {
  return seconds_("minder.interval");
}

bool Settings::automatic_upgrades() const {
  return configuration_->getBool("minder.automatic_upgrades");
}

bool Settings::purge_on_removal() const {
  return configuration_->getBool("minder.purge_on_removal");
}

boost::filesystem::path Settings::staging_directory() const {
  return configuration_->getString("minder.staging_directory");
}

boost::filesystem::path Settings::state_directory() const {
  return configuration_->getString("minder.state_directory");
}

std::chrono::seconds Settings::command_time_limit() const {
  return seconds_("minder.command_time_limit");
}

std::chrono::seconds Settings::command_kill_delay() const {
  return seconds_("minder.command_kill_delay");
}

boost::filesystem::path Settings::metrics_file() const {
  return configuration_->getString("minder.metrics_file");
}

zant::logging::severity_level Settings::log_level() const {
  return zant::logging::severity_level_from_string(configuration_->getString("minder.log.level")).value();
}

Log_Format Settings::log_format() const {
  const std::string format = configuration_->getString("minder.log.format");
  if (format == "auto") {
    return Log_Format::AUTO;
  }
  return format == "journal" ? Log_Format::JOURNAL : Log_Format::TERMINAL;
}

std::chrono::seconds Settings::seconds_(const char* key) const {
  return std::chrono::seconds(configuration_->getInt(key));
}

}  // namespace zant::velmora::standalone_host
