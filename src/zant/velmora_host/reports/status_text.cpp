#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using velmora::Package_Constants::PACKAGE_NAME;

Json text_or_null(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json drifted_files_to_json(const std::vector<Status::Drifted_File>& files) {
  Json json = Json::array();
  for (const auto& file : files) {
    json.push_back({{"path", file.path}, {"code", file.code}});
  }
  return json;
}

const char* hold_code(Status::Hold hold) {
  switch (hold) {
    case Status::Hold::HELD:
      return "held";
    case Status::Hold::NOT_HELD:
      return "not_held";
    default:
      return "unknown";
  }
}

Json last_cycle_to_json(const std::optional<Cycle_State>& cycles) {
  if (!cycles) {
    return nullptr;
  }
  const Cycle_Record& record = cycles->last_cycle;
  Json json = {{"started", to_iso_time(record.started)},
               {"seconds", record.seconds},
               {"program", record.program},
               {"succeeded", !record.failure.has_value()},
               {"failure", nullptr},
               {"actions", record.actions},
               {"problems", record.problems}};
  if (record.failure) {
    json["failure"] = {{"kind", record.failure->kind}, {"message", record.failure->message}};
  }
  const auto& last_success = cycles->history.last_success;
  json["last_success"] = last_success ? Json(to_iso_time(*last_success)) : Json();
  return json;
}

std::string row(const char* name, const std::string& value) {
  return fmt::format("{:<20}{}\n", name, value);
}

std::string item(const std::string& text) {
  return "    " + printable(text) + "\n";
}

std::string describe_drifted_files(const std::vector<Status::Drifted_File>& files) {
  std::string text;
  for (const auto& file : files) {
    text += item(fmt::format(
        "{} {}", file.path,
        file.code == "differs" ? file.code : (file.code == "missing" ? "is missing" : "should not exist")));
  }
  return text;
}

std::string describe_package(const Status& status) {
  const std::string installed =
      status.installed_version.empty() ? "not installed" : status.installed_version + " installed";
  if (status.offered_version.empty()) {
    return fmt::format("{} {}, none offered", PACKAGE_NAME, installed);
  }
  if (status.offered_version == status.installed_version) {
    return fmt::format("{} {}, up to date", PACKAGE_NAME, installed);
  }
  return fmt::format("{} {}, {} offered", PACKAGE_NAME, installed, status.offered_version);
}

std::string describe_repository(const Status& status) {
  if (!status.repository_is_registered) {
    return "not registered";
  }
  return status.drifted_repository_files.empty() ? "registered, in step" : "registered, out of step";
}

std::string describe_hold(Status::Hold hold) {
  switch (hold) {
    case Status::Hold::HELD:
      return "held";
    case Status::Hold::NOT_HELD:
      return "not held";
    default:
      return "held, or the repository cannot be reached";
  }
}

std::string describe_upgrades(const Status& status) {
  if (!status.upgrades_are_wanted) {
    return "off";
  }
  return status.drifted_upgrade_files.empty() && status.upgrade_commands.empty() ? "on, in step"
                                                                                 : "on, out of step";
}

std::string describe_timer(const Status& status) {
  if (status.host.init != velmora::Init::systemd) {
    return "none: this host has no systemd";
  }
  if (!status.timer_is_running) {
    return status.timer + ", is not running";
  }
  return status.timer + (status.next_run.empty() ? ", no next run is set" : ", next run " + status.next_run);
}

std::string describe_last_cycle(const Status& status) {
  if (!status.cycles) {
    return row("Last cycle", "none is recorded");
  }
  const auto& record = status.cycles->last_cycle;
  std::string text =
      row("Last cycle", fmt::format("{} by \"{}\", {:.1f} s, {}", to_iso_time(record.started), record.program,
                                    record.seconds, record.failure ? "failed" : "succeeded"));
  for (const auto& action : record.actions) {
    text += item(action);
  }
  return record.failure ? text + item("Failure: " + record.failure->message) : text;
}

std::string describe_reasons(const std::vector<Status::Reason>& reasons) {
  if (reasons.empty()) {
    return "\nNothing needs attention.\n";
  }
  std::string text = "\nNeeds attention:\n";
  for (const auto& reason : reasons) {
    text += fmt::format("  - {} [{}]\n", printable(reason.message), reason.code);
  }
  return text;
}

}  // namespace

Json to_json(const Status& status) {
  Json document = json_document::make("status");
  document["host"] = {{"package_manager", to_string(status.host.family)},
                      {"init", to_string(status.host.init)}};
  document["service"] = status.service_state;
  document["package"] = {{"name", PACKAGE_NAME},
                         {"installed", text_or_null(status.installed_version)},
                         {"offered", text_or_null(status.offered_version)}};
  document["repository"] = {{"registered", status.repository_is_registered},
                            {"out_of_step", drifted_files_to_json(status.drifted_repository_files)}};
  document["hold"] = hold_code(status.hold);
  document["automatic_upgrades"] = {{"wanted", status.upgrades_are_wanted},
                                    {"out_of_step", drifted_files_to_json(status.drifted_upgrade_files)},
                                    {"pending_commands", status.upgrade_commands}};
  document["timer"] = {{"unit", status.timer},
                       {"running", status.timer_is_running},
                       {"next_run", text_or_null(status.next_run)}};
  document["last_cycle"] = last_cycle_to_json(status.cycles);
  document["conflicts"] = status.cycles ? conflicts(status.cycles->history) : std::vector<std::string>{};
  document["reasons"] = Json::array();
  for (const auto& reason : status.reasons) {
    document["reasons"].push_back({{"code", reason.code}, {"message", reason.message}});
  }
  return document;
}

std::string to_text(const Status& status) {
  std::string text = row("Host", fmt::format("package manager {}, init {}", to_string(status.host.family),
                                             to_string(status.host.init)));
  text += row("Service", status.service_state);
  text += row("Package", describe_package(status));
  text += row("Repository", describe_repository(status)) +
          describe_drifted_files(status.drifted_repository_files);
  text += row("Hold", describe_hold(status.hold));
  text += row("Automatic upgrades", describe_upgrades(status)) +
          describe_drifted_files(status.drifted_upgrade_files);
  for (const auto& command : status.upgrade_commands) {
    text += item("to be run: " + command);
  }
  text += row("Timer", describe_timer(status));
  return text + describe_last_cycle(status) + describe_reasons(status.reasons);
}

}  // namespace zant::velmora_host
