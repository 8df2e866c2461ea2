#include <zant/velmora_host/reports/check.hpp>

#include <zant/velmora_host/families/host_kind.hpp>
#include <zant/velmora_host/reports/host_check.hpp>
#include <zant/velmora_host/reports/keyring_check.hpp>
#include <zant/velmora_host/reports/repository_check.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/dnf/dnf_repo_config.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

void check_apt_repository(const Settings& settings, const Host_Services& services, velmora::Init init,
                          Check_Report& report) {
  const auto tree = settings.staging_directory();
  const Findings missing = find_keyring_faults(tree);
  append(report.findings, missing);
  if (missing.empty()) {
    check_keyring(*services.system, *services.filesystem,
                  tree / "keyrings" / velmora::APT_Constants::APT_REPO_KEYRING_FILE, report);
  }
  const velmora::APT_Repo_Config repo(services.system, settings.configuration(), tree, init);
  append(report.findings,
         find_other_apt_listings(*services.filesystem, repo.source_list.url, repo.source_list.channel));
}

void check_dnf_repository(const Settings& settings, const Host_Services& services, Check_Report& report) {
  const velmora::DNF_Repo_Config repo(settings.configuration(), settings.staging_directory());
  append(report.findings, find_other_dnf_listings(*services.filesystem, repo.base_url));
}

void check_host(const Settings& settings, const Host_Services& services, const Host_Kind& kind,
                Check_Report& report) {
  host_check::check_tools(*services.system, kind, report);
  host_check::check_directories(*services.system, *services.filesystem, settings, kind, report);
  if (settings.automatic_upgrades()) {
    host_check::check_units(*services.system, kind, report);
    host_check::check_schedule(*services.system, settings, kind, report);
  }
  if (kind.family == velmora::Package_Config_Type::APT) {
    check_apt_repository(settings, services, kind.init, report);
  } else {
    check_dnf_repository(settings, services, report);
  }
}

std::string count_of(std::size_t number) {
  return number == 1 ? "1 finding." : fmt::format("{} findings.", number);
}

}  // namespace

Check_Report make_check_report(const Settings& settings, const Host_Services& services) {
  Check_Report report;
  append(report.findings, find_staging_tree_faults(settings.staging_directory()));
  append(report.findings, find_foreign_files(settings.staging_directory()));
  const Host_Kind kind = find_host_kind(*services.filesystem);
  if (kind.family == velmora::Package_Config_Type::None) {
    report.findings.push_back({"/etc/os-release", "names neither a Debian or Ubuntu nor a RHEL family host",
                               "package-minder supports no other hosts", "host.unsupported"});
  } else {
    check_host(settings, services, kind, report);
  }
  return report;
}

json_document::Json to_json(const Check_Report& report) {
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
  return document;
}

std::string to_text(const Check_Report& report) {
  std::string text;
  for (const auto& finding : report.findings) {
    text += fmt::format("{}: {}\n    Remedy: {}\n    [{}]\n", finding.where, finding.what, finding.remedy,
                        finding.code);
  }
  for (const auto& unchecked : report.unchecked) {
    text += fmt::format("Not checked: {}, because {}.\n", unchecked.what, unchecked.reason);
  }
  return text + (report.findings.empty() ? "Nothing found that needs to be put right.\n"
                                         : count_of(report.findings.size()) + "\n");
}

}  // namespace zant::velmora_host
