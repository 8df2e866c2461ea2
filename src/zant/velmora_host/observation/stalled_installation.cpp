#include <zant/velmora_host/observation/stalled_installation.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/json_document.hpp>

#include <Poco/Exception.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host::stalled_installation {

using json_document::Json;

boost::filesystem::path file_in(const boost::filesystem::path& state_directory) {
  return state_directory / "installation.json";
}

std::optional<Stalled_Installation> read(velmora::Filesystem& filesystem,
                                         const boost::filesystem::path& file) {
  try {
    const auto json = Json::parse(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT));
    return Stalled_Installation{json.at("command").get<std::string>(),
                                parse_iso_time(json.at("since").get<std::string>())};
  } catch (const Json::exception&) {
    return std::nullopt;
  } catch (const Poco::Exception&) {
    return std::nullopt;
  }
}

bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file,
           const std::optional<Stalled_Installation>& stalled) {
  if (!stalled) {
    return !filesystem.exists(file) || filesystem.remove(file);
  }
  auto document = json_document::make("installation");
  document["command"] = stalled->command;
  document["since"] = to_iso_time(stalled->since);
  return filesystem.write_file(file, json_document::text_of(document), velmora::Write_Flag::REPLACE);
}

}  // namespace zant::velmora_host::stalled_installation
