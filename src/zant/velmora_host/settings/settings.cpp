#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>
#include <zant/velmora_host/settings/setting_rules.hpp>

#include <Poco/Exception.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>

namespace zant::velmora_host {
namespace {

using Poco::AutoPtr;
using Poco::Util::LayeredConfiguration;
using Poco::Util::PropertyFileConfiguration;

constexpr std::size_t LONGEST_VALUE = 4096;

// Settings of one origin. Tells all its keys at once: asked level by level, a key that begins with a dot has
// no end, and one of a thousand levels costs a thousand searches.
class Listed_Configuration final : public PropertyFileConfiguration {
 public:
  using PropertyFileConfiguration::PropertyFileConfiguration;

  std::vector<std::string> all_keys() const {
    std::vector<std::string> keys;
    std::transform(begin(), end(), std::back_inserter(keys),
                   [](const auto& setting) { return setting.first; });
    return keys;
  }
};

// One layer, and what to call it in front of the administrator.
struct Layer {
  std::string name;
  AutoPtr<Listed_Configuration> configuration;
};

[[noreturn]] void refuse_file(const boost::filesystem::path& file, const std::string& what,
                              const std::string& remedy) {
  throw Refusal(Refusal_Reason::BAD_SETTINGS,
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

AutoPtr<Listed_Configuration> load_settings_file(const Settings_Sources& sources) {
  boost::system::error_code error;
  const auto status = boost::filesystem::status(sources.file, error);
  if (status.type() == boost::filesystem::file_not_found && !sources.file_is_required) {
    return new Listed_Configuration;
  }
  // From memory: on a stream that fails, Poco's parsers do not come to an end.
  std::istringstream text(read_settings_file(sources.file));
  return new Listed_Configuration(text);
}

AutoPtr<Listed_Configuration> make_overrides(const Settings_Sources& sources) {
  AutoPtr<Listed_Configuration> overrides(new Listed_Configuration);
  for (const auto& [key, value] : sources.overrides) {
    overrides->setString(key, value);
  }
  return overrides;
}

AutoPtr<Listed_Configuration> make_defaults() {
  AutoPtr<Listed_Configuration> defaults(new Listed_Configuration);
  defaults->setString("minder.interval", "3600");
  defaults->setString("minder.automatic_upgrades", "true");
  defaults->setString("minder.purge_on_removal", "false");
  defaults->setString("minder.command_time_limit", "1800");
  defaults->setString("minder.command_kill_delay", "10");
  defaults->setString("minder.metrics_file", "");
  defaults->setString("minder.log.level", "info");
  defaults->setString("minder.log.format", "auto");
  for (const auto& [key, value] : host_defaults::directories()) {
    defaults->setString(key, value);
  }
  return defaults;
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
  std::set<std::string> judged;
  for (const auto& layer : by_precedence) {
    for (const auto& key : layer.configuration->all_keys()) {
      if (!is_reserved(key) || !judged.insert(key).second) {
        continue;
      }
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
    throw Refusal(Refusal_Reason::BAD_SETTINGS, findings);
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

}  // namespace zant::velmora_host
