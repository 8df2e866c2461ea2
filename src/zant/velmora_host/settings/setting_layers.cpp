#include <zant/velmora_host/settings/setting_layers.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/judged_file.hpp>
#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/settings/address_credentials.hpp>
#include <zant/velmora_host/settings/properties_text.hpp>

#include <Poco/Exception.h>
#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using Poco::Util::AbstractConfiguration;

[[noreturn]] void refuse_file(const boost::filesystem::path& file, const std::string& what,
                              const std::string& remedy,
                              const char* code = Finding_Code::UNREADABLE_SETTINGS) {
  throw Refusal(Refusal_Reason::BAD_SETTINGS, Findings{{file.string(), what, remedy, code}});
}

void refuse_if_foreign(const boost::filesystem::path& file, const std::string& foreign_writer) {
  if (!foreign_writer.empty()) {
    refuse_file(
        file, foreign_writer,
        "the file and every directory above it must belong to root, and nobody else may write to them",
        "settings.writable_by_others");
  }
}

Judged_Text read_or_refuse(const boost::filesystem::path& file) {
  try {
    return read_judged(file);
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::is_a_directory) {
      refuse_file(file, "is a directory", "name a settings file");
    }
    if (error.code() == std::errc::invalid_argument) {
      refuse_file(file, "is not a regular file", "name a settings file");
    }
    if (is_passing(error.code())) {
      throw;
    }
    refuse_file(file, "cannot be read: " + error.code().message(),
                "it must be readable by the administrator");
  }
}

std::string read_settings_file(const boost::filesystem::path& file) {
  const Judged_Text judged = read_or_refuse(file);
  refuse_if_foreign(file, judged.foreign_writer);
  const std::string& text = judged.text;
  if (text.find('\0') != std::string::npos) {
    refuse_file(file, "is not a text file", "it consists of lines KEY = VALUE");
  }
  return text;
}

bool may_be_missing(const Settings_Sources& sources) {
  boost::system::error_code error;
  const auto status = boost::filesystem::status(sources.file, error);
  return status.type() == boost::filesystem::file_not_found && !sources.file_is_required;
}

void add_file(Setting_Layers& layers, const Settings_Sources& sources) {
  if (may_be_missing(sources)) {
    refuse_if_foreign(sources.file, privileges::who_else_may_write_what_is_there(sources.file));
    return;
  }
  for (auto& line : parse_properties(read_settings_file(sources.file))) {
    const std::string place = fmt::format("{}:{}", sources.file.string(), line.number);
    if (!line.has_separator || line.key.empty()) {
      const std::string text = line.has_separator ? "= " + line.value : line.key;
      layers.faults.push_back(
          {place, fmt::format("\"{}\" is not a setting", printable(address_credentials::masked(text))),
           "a line must be KEY = VALUE, or a comment that begins with #", "settings.not_a_setting"});
    } else {
      layers.settings.push_back({std::move(line.key), std::move(line.value), Setting_Source::FILE, place});
    }
  }
}

void add_of_server(Setting_Layers& layers, const std::string& key, const Settings_Sources& sources) {
  try {
    layers.settings.push_back(
        {key, sources.server->getString(key, ""), Setting_Source::SERVER, sources.server_name});
  } catch (const Poco::Exception& error) {
    layers.faults.push_back(
        {sources.server_name, fmt::format("{} has no value: {}", printable(key), error.displayText()),
         "its references must name other keys, and never in a circle", "settings.circular_reference"});
  }
}

// Adds the settings below a key. The nesting of what the library and the program know ends long before the
// limit; below it, and at an empty name, Poco's listing of keys may have no end.
void add_below(Setting_Layers& layers, const std::string& key, const Settings_Sources& sources, int depth) {
  constexpr int MOST_LEVELS = 8;
  AbstractConfiguration::Keys names;
  if (depth < MOST_LEVELS && !key.ends_with('.')) {
    sources.server->keys(key, names);
  }
  for (const auto& name : names) {
    add_below(layers, key + "." + name, sources, depth + 1);
  }
  if (names.empty() && depth > 0) {
    add_of_server(layers, key, sources);
  }
}

void add_server(Setting_Layers& layers, const Settings_Sources& sources) {
  if (!sources.server) {
    return;
  }
  for (const char* group : {"minder", "package"}) {
    add_below(layers, group, sources, 0);
  }
}

void add_overrides(Setting_Layers& layers, const Settings_Sources& sources) {
  for (const auto& [key, value] : sources.overrides) {
    layers.settings.push_back({key, value, Setting_Source::OVERRIDES, "--set"});
  }
}

}  // namespace

Setting_Layers read_setting_layers(const Settings_Sources& sources) {
  Setting_Layers layers;
  add_file(layers, sources);
  add_server(layers, sources);
  add_overrides(layers, sources);
  return layers;
}

}  // namespace zant::velmora_host
