#include <zant/velmora_host/observation/cycle_store.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/json_document.hpp>

#include <Poco/Exception.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <string>

namespace zant::velmora_host::cycle_store {
namespace {

using json_document::Json;

// What the file holds is somebody else's once it is read: an unknown name makes it no record.
template <typename Value>
Value known(const std::optional<Value>& value) {
  if (!value) {
    throw Poco::DataFormatException("unknown name");
  }
  return *value;
}

template <typename Kind>
Json counts_to_json(const std::map<Kind, std::uint64_t>& counts) {
  Json json = Json::object();
  for (const auto& [kind, count] : counts) {
    json[to_string(kind)] = count;
  }
  return json;
}

template <typename Kind, typename Parse>
std::map<Kind, std::uint64_t> counts_from(const Json& json, Parse parse) {
  std::map<Kind, std::uint64_t> counts;
  for (const auto& [name, count] : json.get<std::map<std::string, std::uint64_t>>()) {
    counts[known(parse(name))] = count;
  }
  return counts;
}

Json to_json(const Cycle_Record& record) {
  Json json = {{"program", record.program}, {"started", to_iso_time(record.started)},
               {"seconds", record.seconds}, {"failures", failures_to_json(record)},
               {"actions", record.actions}, {"problems", record.problems},
               {"commands", Json::array()}, {"files", Json::array()}};
  for (const auto& command : record.commands) {
    json["commands"].push_back(
        {{"line", command.line}, {"exit_code", command.exit_code}, {"seconds", command.seconds}});
  }
  for (const auto& file : record.files) {
    json["files"].push_back({{"path", file.path}, {"outcome", to_string(file.outcome)}});
  }
  return json;
}

Json to_json(const Cycle_History& history) {
  return {{"cycles", history.cycles},
          {"failures", counts_to_json(history.failures)},
          {"repairs", counts_to_json(history.repairs)},
          {"holds_released", history.holds_released},
          {"last_success", history.last_success ? Json(to_iso_time(*history.last_success)) : Json()},
          {"keys", keys_to_json(history)},
          {"known_files", history.known_files},
          {"recent_repairs", history.recent_repairs}};
}

Cycle_Record record_from(const Json& json) {
  Cycle_Record record;
  json.at("program").get_to(record.program);
  record.started = parse_iso_time(json.at("started").get<std::string>());
  json.at("seconds").get_to(record.seconds);
  json.at("actions").get_to(record.actions);
  json.at("problems").get_to(record.problems);
  for (const auto& command : json.at("commands")) {
    record.commands.push_back({command.at("line").get<std::string>(), command.at("exit_code").get<int>(),
                               command.at("seconds").get<double>()});
  }
  for (const auto& file : json.at("files")) {
    record.files.push_back({file.at("path").get<std::string>(),
                            known(file_outcome_from(file.at("outcome").get<std::string>()))});
  }
  for (const auto& failure : json.at("failures")) {
    record.failures.push_back({known(cycle_step_from(failure.at("kind").get<std::string>())),
                               failure.at("message").get<std::string>()});
  }
  return record;
}

std::optional<Key_History> keys_from(const Json& history) {
  // A record of an earlier version has no such member.
  const auto json = history.find("keys");
  if (json == history.end() || json->is_null()) {
    return std::nullopt;
  }
  Key_History keys;
  json->at("trusted").get_to(keys.trusted);
  std::sort(keys.trusted.begin(), keys.trusted.end());
  for (const auto& key : json->at("imported")) {
    keys.imported.push_back({key.at("key").get<std::string>(),
                             parse_iso_time(key.at("time").get<std::string>()), key.at("first").get<bool>()});
  }
  return keys;
}

Cycle_History history_from(const Json& json) {
  Cycle_History history;
  json.at("cycles").get_to(history.cycles);
  history.failures = counts_from<Cycle_Step>(json.at("failures"), cycle_step_from);
  history.repairs = counts_from<File_Kind>(json.at("repairs"), file_kind_from);
  json.at("holds_released").get_to(history.holds_released);
  if (const auto& last_success = json.at("last_success"); !last_success.is_null()) {
    history.last_success = parse_iso_time(last_success.get<std::string>());
  }
  history.keys = keys_from(json);
  json.at("known_files").get_to(history.known_files);
  json.at("recent_repairs").get_to(history.recent_repairs);
  return history;
}

}  // namespace

Json failures_to_json(const Cycle_Record& record) {
  Json json = Json::array();
  for (const auto& failure : record.failures) {
    json.push_back({{"kind", to_string(failure.step)}, {"message", failure.message}});
  }
  return json;
}

Json keys_to_json(const Cycle_History& history) {
  if (!history.keys) {
    return nullptr;
  }
  Json json = {{"trusted", history.keys->trusted}, {"imported", Json::array()}};
  for (const auto& key : history.keys->imported) {
    json["imported"].push_back({{"key", key.key}, {"time", to_iso_time(key.time)}, {"first", key.is_first}});
  }
  return json;
}

boost::filesystem::path file_in(const boost::filesystem::path& state_directory) {
  return state_directory / "last-cycle.json";
}

std::optional<Cycle_State> read(velmora::Filesystem& filesystem, const boost::filesystem::path& file) {
  try {
    const auto json = Json::parse(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT));
    return Cycle_State{record_from(json.at("last_cycle")), history_from(json.at("history"))};
  } catch (const Json::exception&) {
    return std::nullopt;
  } catch (const Poco::Exception&) {
    return std::nullopt;
  }
}

bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file, const Cycle_State& state) {
  auto document = json_document::make("last-cycle");
  document["last_cycle"] = to_json(state.last_cycle);
  document["history"] = to_json(state.history);
  return filesystem.write_file(file, json_document::text_of(document), velmora::Write_Flag::REPLACE);
}

}  // namespace zant::velmora_host::cycle_store
