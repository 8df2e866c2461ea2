#include <zant/velmora_host/reports/settings_report.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/settings/setting_table.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/erase.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using json_document::text_or_null;
using Service = Settings_Report::Service;
using Row = Settings_Report::Row;

std::string default_on(const Setting& setting, velmora::Init init) {
  const bool is_other = init != velmora::Init::systemd && !setting.default_without_systemd.empty();
  return is_other ? setting.default_without_systemd : setting.default_value;
}

std::string value_or_default(const std::string& value, const Setting& setting, velmora::Init init) {
  return value.empty() && setting.is_unset_when_empty() ? default_on(setting, init) : value;
}

Row make_row(const Effective_Setting& effective, const Setting& setting, velmora::Init init) {
  // Settings of the library have no value by default: it chooses the one that the table knows too.
  const std::string value =
      effective.source == Setting_Source::DEFAULT ? default_on(setting, init) : effective.value;
  return {effective.key,        value_or_default(value, setting, init),
          setting.default_note, effective.source,
          effective.place,      ""};
}

std::string value_in_service(const Settings_In_Force& in_force, const Setting& setting, velmora::Init init) {
  const auto value = in_force.values.find(setting.key);
  return value == in_force.values.end() ? default_on(setting, init) : value->second;
}

// What a process wrote that has ended since says nothing about the one that works there now.
std::optional<Settings_In_Force> read_in_force(const Settings& settings, velmora::Filesystem& filesystem,
                                               const std::string& holder) {
  auto in_force = settings_in_force::read(filesystem, settings.state_directory());
  return in_force && in_force->process == holder ? in_force : std::nullopt;
}

Service service_of(const std::string& holder, const std::optional<Settings_In_Force>& in_force) {
  if (holder.empty()) {
    return Service::NOT_RUNNING;
  }
  return in_force ? Service::RUNNING : Service::UNKNOWN;
}

bool differs(const Row& row) {
  return row.value != row.service_value;
}

// --- JSON --------------------------------------------------------------------

const char* to_code(Service service) {
  switch (service) {
    case Service::RUNNING:
      return "running";
    case Service::NOT_RUNNING:
      return "not_running";
    default:
      return "unknown";
  }
}

Json to_json(const Row& row, Service service) {
  Json json = {{"key", row.key},
               {"value", text_or_null(row.value)},
               {"source", to_string(row.source)},
               {"place", text_or_null(row.place)},
               {"in_service", nullptr},
               {"service_value", nullptr}};
  if (service == Service::RUNNING) {
    json["in_service"] = !differs(row);
    json["service_value"] = text_or_null(row.service_value);
  }
  return json;
}

// --- Text --------------------------------------------------------------------

constexpr std::size_t COLUMNS = 80;
constexpr std::size_t KEY_WIDTH = 43;

std::string describe_service(const Settings_Report& report) {
  if (report.service == Service::NOT_RUNNING) {
    return "not running";
  }
  if (report.service == Service::UNKNOWN) {
    return fmt::format("process {} is running, with unknown settings", printable(report.process));
  }
  return fmt::format("running (process {}), {}", report.process,
                     report.needs_restart() ? "restart it to apply changed settings" : "has these settings");
}

std::string shown(const std::string& value, const Row& row) {
  if (!value.empty()) {
    return printable(value);
  }
  return row.note.empty() ? "empty" : "not set: " + boost::algorithm::erase_all_copy(row.note, "`");
}

std::string describe(const Row& row, Service service) {
  const std::string value = shown(row.value, row);
  std::string text = KEY_WIDTH + value.size() <= COLUMNS
                         ? fmt::format("{:<{}}{}\n", row.key, KEY_WIDTH, value)
                         : fmt::format("{}\n    {}\n", row.key, value);
  if (!row.place.empty()) {
    text += fmt::format("    from {}\n", printable_lines(row.place, "\\n"));
  }
  if (service == Service::RUNNING && differs(row)) {
    text += fmt::format("    the service has: {}\n", shown(row.service_value, row));
  }
  return text;
}

}  // namespace

bool Settings_Report::needs_restart() const {
  return service == Service::RUNNING && std::any_of(rows.begin(), rows.end(), differs);
}

Settings_Report make_settings_report(const Settings& settings, const Host_Services& services) {
  return make_settings_report(settings, *services.filesystem, find_init(*services.filesystem),
                              Work_Area::find_holder(settings));
}

Settings_Report make_settings_report(const Settings& settings, velmora::Filesystem& filesystem,
                                     velmora::Init init, const std::string& holder) {
  const Setting_Table& table = setting_table();
  const auto in_force = read_in_force(settings, filesystem, holder);
  Settings_Report report;
  report.file = settings.file();
  report.file_exists = filesystem.exists(settings.file());
  report.service = service_of(holder, in_force);
  report.process = holder;
  for (const auto& effective : settings.all()) {
    const Setting& setting = *table.find(effective.key);
    if (!table.applies(setting) && effective.source == Setting_Source::DEFAULT) {
      continue;
    }
    report.rows.push_back(make_row(effective, setting, init));
    if (report.service == Service::RUNNING) {
      report.rows.back().service_value = value_in_service(*in_force, setting, init);
    }
  }
  return report;
}

std::string to_json_text(const Settings_Report& report) {
  Json document = json_document::make("settings");
  document["file"] = {{"path", report.file.string()}, {"exists", report.file_exists}};
  document["service"] = {{"state", to_code(report.service)}, {"process", text_or_null(report.process)}};
  document["needs_restart"] = report.needs_restart();
  document["settings"] = Json::array();
  for (const auto& row : report.rows) {
    document["settings"].push_back(to_json(row, report.service));
  }
  return json_document::text_of(document);
}

std::string to_text(const Settings_Report& report) {
  std::string text =
      fmt::format("Settings file  {}{}\nService        {}\n\n", printable_lines(report.file.string(), "\\n"),
                  report.file_exists ? "" : " (missing)", describe_service(report));
  for (const auto& row : report.rows) {
    text += describe(row, report.service);
  }
  return text;
}

}  // namespace zant::velmora_host
