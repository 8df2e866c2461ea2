#include <zant/velmora_host/reports/why.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/verdict/find_verdict.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using json_document::text_or_null;
using Time = std::optional<std::chrono::system_clock::time_point>;

Time since(const std::optional<Version_Since>& version) {
  return version ? Time(version->since) : std::nullopt;
}

Json time_or_null(const Time& time) {
  return time ? Json(to_iso_time(*time)) : Json();
}

std::string time_or_unknown(const Time& time) {
  return time ? to_iso_time(*time) : "unknown";
}

std::string entry(const char* name, const std::string& value) {
  return fmt::format("{:<19} {}\n", name, printable_lines(value, "\\n"));
}

std::string indented(const char* name, const std::string& text) {
  return fmt::format("    {}: {}\n", name, printable_lines(text, "\n        "));
}

std::string describe(const Cause& cause) {
  return fmt::format("{} [{}]\n", printable(cause.message), printable(cause.code)) +
         indented("Evidence", cause.evidence) +
         indented(is_command(cause.remedy) ? "Remedy, to type" : "Remedy", cause.remedy);
}

// It was there when it was first seen.
std::string describe_installed(const Verdict& verdict) {
  if (verdict.outlook.installed.empty()) {
    return "unknown, or not installed";
  }
  const auto& installed = verdict.history.installed;
  return installed ? fmt::format("{}, since {} or earlier", verdict.outlook.installed,
                                 to_iso_time(installed->since))
                   : verdict.outlook.installed;
}

std::string describe_offered(const Verdict& verdict) {
  if (verdict.outlook.offered.empty()) {
    return "unknown, or none";
  }
  const auto& offered = verdict.history.offered;
  return offered ? fmt::format("{}, newer since {}", verdict.outlook.offered, to_iso_time(offered->since))
                 : verdict.outlook.offered;
}

std::string describe_last_run(const std::optional<Upgrade_Run>& run) {
  return run ? fmt::format("{}, {} ({})", to_iso_time(run->ended), run->succeeded ? "succeeded" : "failed",
                           run->result)
             : "unknown";
}

}  // namespace

Verdict make_verdict(const Settings& settings, const Host_Services& services, bool online) {
  return make_verdict(settings, services, online, Family_Registry::built_in());
}

Verdict make_verdict(const Settings& settings, const Host_Services& services, bool online,
                     const Family_Registry& registry) {
  const Report_Services report(services, online ? ONLINE_REPORT_LIMIT : REPORT_LIMIT);
  const Minded_Host host = find_minded_host(settings, services, registry);
  const auto last =
      verdict_store::read(*services.filesystem, verdict_store::file_in(settings.state_directory()));
  return find_verdict(host, last ? last->history : Upgrade_History{}, online, report.bounds());
}

std::string to_json_text(const Verdict& verdict) {
  const Upgrade_Outlook& outlook = verdict.outlook;
  Json document = json_document::make("why");
  document["verdict"] = to_string(verdict.kind);
  document["installed"] = text_or_null(outlook.installed);
  document["installed_since"] = time_or_null(since(verdict.history.installed));
  document["offered"] = text_or_null(outlook.offered);
  document["offered_since"] = time_or_null(since(verdict.history.offered));
  document["refreshed"] = time_or_null(outlook.refreshed);
  document["next_run"] = time_or_null(outlook.next_run);
  document["runs"] = verdict_store::runs_to_json(verdict.history.runs);
  document["online"] = verdict.online;
  document["causes"] = verdict_store::causes_to_json(outlook.causes);
  return json_document::text_of(document);
}

std::string to_text(const Verdict& verdict) {
  const Upgrade_Outlook& outlook = verdict.outlook;
  std::string text = entry("Verdict", describe(verdict));
  text += entry("Installed", describe_installed(verdict));
  text += entry("Offered", describe_offered(verdict));
  text += entry("Repository answered", time_or_unknown(outlook.refreshed));
  text += entry("Next run", time_or_unknown(outlook.next_run));
  text += entry("Last run", describe_last_run(outlook.last_run));
  for (const auto& cause : outlook.causes) {
    text += "\n" + describe(cause);
  }
  return text;
}

}  // namespace zant::velmora_host
