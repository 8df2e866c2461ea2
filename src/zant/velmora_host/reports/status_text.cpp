#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string_view>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using json_document::text_or_null;
using velmora::Package_Constants::PACKAGE_NAME;

constexpr Enum_Names<Status::Drift, 3> DRIFT_CODES = {{
    {Status::Drift::MISSING, "missing"},
    {Status::Drift::DIFFERS, "differs"},
    {Status::Drift::NOT_WANTED, "not_wanted"},
}};
constexpr Enum_Names<Status::Drift, 3> DRIFT_WORDS = {{
    {Status::Drift::MISSING, "is missing"},
    {Status::Drift::DIFFERS, "differs"},
    {Status::Drift::NOT_WANTED, "should not exist"},
}};
constexpr Enum_Names<Hold_State, 3> HOLD_CODES = {{
    {Hold_State::HELD, "held"},
    {Hold_State::NOT_HELD, "not_held"},
    {Hold_State::UNKNOWN, "unknown"},
}};
constexpr Enum_Names<Hold_State, 3> HOLD_WORDS = {{
    {Hold_State::HELD, "held"},
    {Hold_State::NOT_HELD, "not held"},
    {Hold_State::UNKNOWN, "unknown"},
}};

Json drift_to_json(const std::vector<Status::Drifted_File>& files) {
  Json json = Json::array();
  for (const auto& file : files) {
    json.push_back({{"path", file.path}, {"code", name_of(DRIFT_CODES, file.drift)}});
  }
  return json;
}

Json drift_or_null(const Status& status, const std::vector<Status::Drifted_File>& files) {
  return status.is_plan_known ? drift_to_json(files) : Json();
}

Json last_cycle_to_json(const std::optional<Cycle_State>& cycles) {
  if (!cycles) {
    return nullptr;
  }
  const Cycle_Record& record = cycles->last_cycle;
  const auto& last_success = cycles->history.last_success;
  return {{"started", to_iso_time(record.started)},
          {"seconds", record.seconds},
          {"program", record.program},
          {"succeeded", record.succeeded()},
          {"failures", cycle_store::failures_to_json(record)},
          {"actions", record.actions},
          {"problems", record.problems},
          {"last_success", last_success ? Json(to_iso_time(*last_success)) : Json()}};
}

std::string row(const char* name, const std::string& value) {
  return fmt::format("{:<20}{}\n", name, printable_lines(value, "\\n"));
}

std::string item(const std::string& text) {
  return "    " + printable(text) + "\n";
}

std::string describe_drift(const std::vector<Status::Drifted_File>& files) {
  std::string text;
  for (const auto& file : files) {
    text += item(fmt::format("{} {}", file.path, name_of(DRIFT_WORDS, file.drift)));
  }
  return text;
}

bool has_reason(const Status& status, std::string_view code) {
  return std::any_of(status.reasons.begin(), status.reasons.end(),
                     [code](const Status::Reason& reason) { return reason.code == code; });
}

std::string describe_installed(const Status& status) {
  if (!status.versions.installed.empty()) {
    return status.versions.installed + " installed";
  }
  return has_reason(status, "package.not_installed") ? "not installed" : "unknown whether installed";
}

std::string describe_offered(const Status& status) {
  if (status.verdict.kind == Verdict_Kind::UP_TO_DATE) {
    return "up to date";
  }
  return status.versions.offered.empty() ? "unknown what is offered" : status.versions.offered + " offered";
}

std::string describe_package(const Status& status) {
  return fmt::format("{} {}, {}", PACKAGE_NAME, describe_installed(status), describe_offered(status));
}

std::string describe_repository(const Status& status) {
  if (!status.repository_is_registered) {
    return "not registered";
  }
  if (!status.is_plan_known) {
    return "registered, unknown whether in step";
  }
  return status.drifted_repository_files.empty() ? "registered, in step" : "registered, out of step";
}

// Every key counts: the package manager takes a package that any of them has signed.
std::string describe_keys(const std::optional<Cycle_State>& cycles) {
  if (!cycles || !cycles->history.keys) {
    return "";
  }
  const Key_History& keys = *cycles->history.keys;
  std::string text = row("Trusted keys", std::to_string(keys.trusted.size()));
  for (const auto& key : keys.trusted) {
    const auto imported =
        std::find_if(keys.imported.begin(), keys.imported.end(),
                     [&key](const Imported_Key& candidate) { return candidate.key == key; });
    text += item(imported == keys.imported.end()
                     ? key
                     : fmt::format("{}, imported {}", key, to_iso_time(imported->time)));
  }
  return text;
}

std::string describe_upgrades(const Status& status) {
  if (!status.upgrades_are_wanted) {
    return "off";
  }
  if (!status.is_plan_known) {
    return "on, unknown whether in step";
  }
  return status.drifted_upgrade_files.empty() && status.upgrade_commands.empty() ? "on, in step"
                                                                                 : "on, out of step";
}

std::string describe_timer(const Status& status) {
  if (status.timer.empty() || status.init != velmora::Init::systemd) {
    return "none: systemd does not start upgrades on this host";
  }
  if (!status.is_timer_known) {
    return status.timer + ", unknown whether it is running";
  }
  if (!status.timer_is_running) {
    return status.timer + ", is not running";
  }
  return status.timer + (status.next_run.empty() ? ", no next run is set" : ", next run " + status.next_run);
}

std::string describe_last_cycle(const std::optional<Cycle_State>& cycles) {
  if (!cycles) {
    return row("Last cycle", "none is recorded");
  }
  const auto& record = cycles->last_cycle;
  std::string text =
      row("Last cycle", fmt::format("{} by \"{}\", {:.1f} s, {}", to_iso_time(record.started), record.program,
                                    record.seconds, record.succeeded() ? "succeeded" : "failed"));
  for (const auto& action : record.actions) {
    text += item(action);
  }
  for (const auto& problem : record.problems) {
    text += item("Problem: " + problem);
  }
  for (const auto& failure : record.failures) {
    text += item("Failure: " + failure.message);
  }
  return text;
}

// An upgrade that cannot be told of is not in order.
std::string describe_reasons(const Status& status) {
  const bool is_told = status.verdict.kind != Verdict_Kind::CANNOT_BE_TOLD;
  if (status.reasons.empty()) {
    return is_told ? "\nNothing needs attention.\n" : "";
  }
  std::string text = "\nNeeds attention:\n";
  for (const auto& reason : status.reasons) {
    // Whole: the remedy stands at the end.
    text += fmt::format("  - {} [{}]\n", printable_lines(reason.message, "\\n"), reason.code);
  }
  return text;
}

}  // namespace

std::string to_json_text(const Status& status) {
  Json document = json_document::make("status");
  document["verdict"] = to_string(status.verdict.kind);
  document["host"] = {{"package_manager", status.family}, {"init", to_string(status.init)}};
  document["service"] = status.service_state;
  document["package"] = {{"name", PACKAGE_NAME},
                         {"installed", text_or_null(status.versions.installed)},
                         {"offered", text_or_null(status.versions.offered)}};
  document["repository"] = {{"registered", status.repository_is_registered},
                            {"out_of_step", drift_or_null(status, status.drifted_repository_files)}};
  document["keys"] = status.cycles ? cycle_store::keys_to_json(status.cycles->history) : Json();
  document["hold"] = name_of(HOLD_CODES, status.hold);
  document["automatic_upgrades"] = {
      {"wanted", status.upgrades_are_wanted},
      {"out_of_step", drift_or_null(status, status.drifted_upgrade_files)},
      {"pending_commands", status.is_plan_known ? Json(status.upgrade_commands) : Json()}};
  document["timer"] = {{"unit", text_or_null(status.timer)},
                       {"running", status.is_timer_known ? Json(status.timer_is_running) : Json()},
                       {"enabled", status.is_timer_known ? Json(status.timer_is_enabled) : Json()},
                       {"next_run", text_or_null(status.next_run)}};
  document["last_cycle"] = last_cycle_to_json(status.cycles);
  document["conflicts"] = status.cycles ? conflicts(status.cycles->history) : std::vector<std::string>{};
  document["reasons"] = Json::array();
  for (const auto& reason : status.reasons) {
    document["reasons"].push_back({{"code", reason.code}, {"message", reason.message}});
  }
  return json_document::text_of(document);
}

std::string to_text(const Status& status) {
  std::string text = row("Verdict", describe(status.verdict));
  text += row("Host", fmt::format("package manager {}, init {}", status.family, to_string(status.init)));
  text += row("Service", status.service_state);
  text += row("Package", describe_package(status));
  text += row("Repository", describe_repository(status)) + describe_drift(status.drifted_repository_files);
  text += describe_keys(status.cycles);
  text += row("Hold", name_of(HOLD_WORDS, status.hold));
  text += row("Automatic upgrades", describe_upgrades(status)) + describe_drift(status.drifted_upgrade_files);
  for (const auto& command : status.upgrade_commands) {
    text += item("to be run: " + command);
  }
  text += row("Timer", describe_timer(status));
  return text + describe_last_cycle(status.cycles) + describe_reasons(status);
}

}  // namespace zant::velmora_host
