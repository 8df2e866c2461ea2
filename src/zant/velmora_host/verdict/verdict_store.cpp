#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/iso_time.hpp>

#include <Poco/Exception.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host::verdict_store {
namespace {

using json_document::Json;
using json_document::text_or_null;
using std::chrono::system_clock;

constexpr Enum_Names<Cause_Effect, 2> EFFECT_NAMES = {{
    {Cause_Effect::BLOCKS, "blocks"},
    {Cause_Effect::OBSCURES, "obscures"},
}};

// What the file holds is somebody else's once it is read: an unknown name makes it no verdict.
template <typename Value>
Value known(const std::optional<Value>& value) {
  if (!value) {
    throw Poco::DataFormatException("unknown name");
  }
  return *value;
}

Json to_json(const std::optional<system_clock::time_point>& time) {
  return time ? Json(to_iso_time(*time)) : Json();
}

Json to_json(const std::optional<Version_Since>& version) {
  return version ? Json{{"version", version->version}, {"since", to_iso_time(version->since)}} : Json();
}

Json to_json(const Upgrade_Run& run) {
  return {{"ended", to_iso_time(run.ended)}, {"succeeded", run.succeeded}, {"result", run.result}};
}

Json to_json(const Upgrade_History& history) {
  return {{"offered", to_json(history.offered)},
          {"installed", to_json(history.installed)},
          {"version_changed", to_json(history.version_changed)},
          {"runs", runs_to_json(history.runs)}};
}

Json to_json(const Upgrade_Outlook& outlook) {
  return {{"installed", text_or_null(outlook.installed)},
          {"offered", text_or_null(outlook.offered)},
          {"newer_is_offered", outlook.newer_is_offered},
          {"refreshed", to_json(outlook.refreshed)},
          {"next_run", to_json(outlook.next_run)},
          {"last_run", outlook.last_run ? to_json(*outlook.last_run) : Json()},
          {"causes", causes_to_json(outlook.causes)}};
}

std::string text_from(const Json& json) {
  return json.is_null() ? "" : json.get<std::string>();
}

std::optional<system_clock::time_point> time_from(const Json& json) {
  return json.is_null() ? std::nullopt : std::optional(parse_iso_time(json.get<std::string>()));
}

std::optional<Version_Since> version_from(const Json& json) {
  if (json.is_null()) {
    return std::nullopt;
  }
  Version_Since version;
  json.at("version").get_to(version.version);
  version.since = parse_iso_time(json.at("since").get<std::string>());
  return version;
}

Upgrade_Run run_from(const Json& json) {
  return {parse_iso_time(json.at("ended").get<std::string>()), json.at("succeeded").get<bool>(),
          json.at("result").get<std::string>()};
}

Upgrade_History history_from(const Json& json) {
  Upgrade_History history = {version_from(json.at("offered")),
                             version_from(json.at("installed")),
                             time_from(json.at("version_changed")),
                             {}};
  for (const auto& run : json.at("runs")) {
    history.runs.push_back(run_from(run));
  }
  return history;
}

Cause cause_from(const Json& json) {
  return {known(value_of(EFFECT_NAMES, json.at("effect").get<std::string>())),
          json.at("code").get<std::string>(),
          json.at("message").get<std::string>(),
          json.at("evidence").get<std::string>(),
          json.at("remedy").get<std::string>(),
          json.at("configuration").get<bool>()};
}

Upgrade_Outlook outlook_from(const Json& json) {
  Upgrade_Outlook outlook;
  outlook.installed = text_from(json.at("installed"));
  outlook.offered = text_from(json.at("offered"));
  json.at("newer_is_offered").get_to(outlook.newer_is_offered);
  outlook.refreshed = time_from(json.at("refreshed"));
  outlook.next_run = time_from(json.at("next_run"));
  if (const auto& last_run = json.at("last_run"); !last_run.is_null()) {
    outlook.last_run = run_from(last_run);
  }
  for (const auto& cause : json.at("causes")) {
    outlook.causes.push_back(cause_from(cause));
  }
  return outlook;
}

Verdict verdict_from(const Json& json) {
  return {known(verdict_kind_from(json.at("verdict").get<std::string>())),
          parse_iso_time(json.at("found").get<std::string>()), json.at("online").get<bool>(),
          outlook_from(json.at("outlook")), history_from(json.at("history"))};
}

}  // namespace

Json causes_to_json(const Causes& causes) {
  Json json = Json::array();
  for (const auto& cause : causes) {
    json.push_back({{"code", cause.code},
                    {"effect", name_of(EFFECT_NAMES, cause.effect)},
                    {"message", cause.message},
                    {"evidence", cause.evidence},
                    {"remedy", cause.remedy},
                    {"configuration", cause.is_of_configuration}});
  }
  return json;
}

Json runs_to_json(const std::vector<Upgrade_Run>& runs) {
  Json json = Json::array();
  for (const auto& run : runs) {
    json.push_back(to_json(run));
  }
  return json;
}

boost::filesystem::path file_in(const boost::filesystem::path& state_directory) {
  return state_directory / "verdict.json";
}

std::optional<Verdict> read(velmora::Filesystem& filesystem, const boost::filesystem::path& file) {
  try {
    return verdict_from(Json::parse(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT)));
  } catch (const Json::exception&) {
    return std::nullopt;
  } catch (const Poco::Exception&) {
    return std::nullopt;
  }
}

bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file, const Verdict& verdict) {
  auto document = json_document::make("verdict");
  document["verdict"] = to_string(verdict.kind);
  document["found"] = to_iso_time(verdict.found);
  document["online"] = verdict.online;
  document["outlook"] = to_json(verdict.outlook);
  document["history"] = to_json(verdict.history);
  return filesystem.write_file(file, json_document::text_of(document), velmora::Write_Flag::REPLACE);
}

}  // namespace zant::velmora_host::verdict_store
