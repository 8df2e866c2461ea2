// First, because on Windows it must come before the system's own headers.
#include <Poco/Process.h>

#include <zant/velmora_host/settings/settings_in_force.hpp>

#include <zant/velmora_host/base/json_document.hpp>

#include <nlohmann/json.hpp>

namespace zant::velmora_host::settings_in_force {

using json_document::Json;

boost::filesystem::path file_in(const boost::filesystem::path& state_directory) {
  return state_directory / "settings-in-force.json";
}

Settings_In_Force of_this_process(const Settings& settings) {
  Settings_In_Force in_force{std::to_string(Poco::Process::id()), {}};
  for (const auto& setting : settings.all()) {
    if (settings.configuration().has(setting.key)) {
      in_force.values[setting.key] = setting.value;
    }
  }
  return in_force;
}

bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& state_directory,
           const Settings_In_Force& settings) {
  Json document = json_document::make("settings-in-force");
  document["process"] = settings.process;
  document["settings"] = Json(settings.values);
  return filesystem.write_file(file_in(state_directory), json_document::text_of(document),
                               velmora::Write_Flag::REPLACE);
}

std::optional<Settings_In_Force> read(velmora::Filesystem& filesystem,
                                      const boost::filesystem::path& state_directory) {
  try {
    const Json document =
        Json::parse(filesystem.read_file(file_in(state_directory), velmora::Read_Flag::WHOLE_TEXT));
    Settings_In_Force settings;
    document.at("process").get_to(settings.process);
    document.at("settings").get_to(settings.values);
    return settings;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

void remove(velmora::Filesystem& filesystem, const boost::filesystem::path& state_directory) {
  filesystem.remove(file_in(state_directory));
}

}  // namespace zant::velmora_host::settings_in_force
