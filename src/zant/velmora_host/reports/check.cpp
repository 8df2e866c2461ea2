#include <zant/velmora_host/reports/check.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/reports/host_check.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>
#include <zant/velmora_host/staging/state_directory.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

void check_host(const Settings& settings, const Host_Services& services, const Family& family,
                Check_Report& report) {
  const velmora::Init init = find_init(*services.filesystem);
  append(report.findings, family.find_setting_faults(settings));
  append(report.findings, find_keyring_faults(settings.staging_directory(), family.staging_layout()));
  host_check::check_tools(*services.system, family, init, report);
  host_check::check_directories(services, settings, family, init, report);
  if (settings.automatic_upgrades()) {
    host_check::check_units(*services.system, family, init, report);
    host_check::check_schedule(*services.system, settings, family, init, report);
  }
  family.check(settings, services, init, report);
}

std::string on_one_line(const std::string& text) {
  return printable_lines(text, "\\n");
}

std::string count_of(std::size_t number) {
  return number == 1 ? "1 finding." : fmt::format("{} findings.", number);
}

}  // namespace

Check_Report make_check_report(const Settings& settings, const Host_Services& services) {
  return make_check_report(settings, services, Family_Registry::built_in());
}

Check_Report make_check_report(const Settings& settings, const Host_Services& services,
                               const Family_Registry& registry) {
  Check_Report report;
  append(report.findings, state_directory::find_faults(settings));
  append(report.findings, find_metrics_file_faults(settings.metrics_file()));
  if (const Staging_Layout layout = registry.staging_layout(); !layout.templates.empty()) {
    append(report.findings, find_staging_tree_faults(settings.staging_directory(), layout));
    append(report.findings, find_foreign_files(settings.staging_directory(), layout));
  }
  if (const Family* const family = registry.find(*services.filesystem)) {
    check_host(settings, services, *family, report);
  } else {
    report.findings.push_back({"/etc/os-release", "names neither a Debian or Ubuntu nor a RHEL family host",
                               "package-minder supports no other hosts", "host.unsupported"});
  }
  return report;
}

std::string to_json_text(const Check_Report& report) {
  auto document = json_document::make("check");
  document["findings"] = json_document::Json::array();
  for (const auto& finding : report.findings) {
    document["findings"].push_back({{"code", finding.code},
                                    {"where", finding.where},
                                    {"message", finding.what},
                                    {"remedy", finding.remedy}});
  }
  document["unchecked"] = json_document::Json::array();
  for (const auto& unchecked : report.unchecked) {
    document["unchecked"].push_back(
        {{"code", unchecked.code}, {"what", unchecked.what}, {"reason", unchecked.reason}});
  }
  return json_document::text_of(document);
}

std::string to_text(const Check_Report& report) {
  std::string text;
  for (const auto& finding : report.findings) {
    text += fmt::format("{}: {}\n    Remedy: {}\n    [{}]\n", on_one_line(finding.where),
                        on_one_line(finding.what), on_one_line(finding.remedy), finding.code);
  }
  for (const auto& unchecked : report.unchecked) {
    text += fmt::format("Not checked: {}, because {}.\n", on_one_line(unchecked.what),
                        on_one_line(unchecked.reason));
  }
  return text + (report.findings.empty() ? "Nothing found that needs to be put right.\n"
                                         : count_of(report.findings.size()) + "\n");
}

}  // namespace zant::velmora_host
