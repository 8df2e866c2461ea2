#include <zant/velmora_host/reports/check.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/configured_causes.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/reports/host_check.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>
#include <zant/velmora_host/staging/state_directory.hpp>
#include <zant/velmora_host/verdict/find_verdict.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

struct Checked_Host {
  const Settings& settings;
  const Report_Services& report;
  const Family& family;
  const Family_Registry& registry;
  velmora::Init init;
};

// Only where a cycle replaces files of the host's own: a plan of others may need the network. With a staging
// tree that is not in order there is nothing to plan with.
std::optional<Plan> plan_cycle(const Checked_Host& host, const Check_Report& report) {
  const bool needs_network = host.family.replaced_files().empty();
  if (!host.settings.automatic_upgrades() || needs_network || !report.findings.empty()) {
    return std::nullopt;
  }
  Plan plan = make_plan(Plan::Operation::CYCLE, host.settings, host.report, host.registry);
  return plan.is_incomplete ? std::nullopt : std::optional(std::move(plan));
}

void check_displaced_settings(const Plan& plan, Check_Report& report) {
  for (const auto& displaced : plan.displaced_settings) {
    report.findings.push_back(
        {displaced.file.string(),
         printable(displaced.message) + " while package-minder's file is in its place",
         "to keep it, say it in a file of yours that sorts later: see administration.md",
         "upgrades.setting_displaced"});
  }
}

// What is found with answers that did not come in time is nothing.
template <typename Check>
void check_in_time(const Checked_Host& host, Check_Report& report, Check check) {
  const Check_Report before = report;
  if (!host.report.first_cut()) {
    check();
  }
  if (host.report.first_cut()) {
    report = before;
  }
}

std::string first_line_of(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

bool has_code(const Check_Report& report, const std::string& code) {
  return std::any_of(report.findings.begin(), report.findings.end(),
                     [&code](const Finding& finding) { return finding.code == code; });
}

// What a check of units says of one is not said again in the words of a cause.
bool is_of_checked_unit(const Check_Report& report, const Cause& cause) {
  return std::any_of(report.findings.begin(), report.findings.end(), [&cause](const Finding& finding) {
    return finding.code == "units.masked" && boost::algorithm::ends_with(cause.code, ".masked") &&
           cause.message.find(finding.where) != std::string::npos;
  });
}

Planned_Files files_of(const std::optional<Plan>& plan) {
  Planned_Files files;
  for (const auto& change : plan ? plan->files : std::vector<File_Change>{}) {
    files[change.path] = change.after;
  }
  return files;
}

// Before the first cycle much is missing that a cycle brings: only what it does not bring is named.
void check_upgrades(const Checked_Host& host, bool online, const Planned_Files& planned,
                    Check_Report& report) {
  const Minded_Host minded = {host.settings, host.report.services(), host.family, host.init};
  const Verdict verdict = find_verdict(minded, {}, online, host.report.bounds(), planned);
  const Check_Report others = report;
  for (const auto& cause : verdict.outlook.causes) {
    const bool is_new = !has_code(others, cause.code) && !is_of_checked_unit(others, cause);
    if (is_new && (cause.is_of_configuration || (online && !is_for_cycle(cause)))) {
      report.findings.push_back({first_line_of(cause.evidence), cause.message, cause.remedy, cause.code});
    } else if (cause.code == "tools.failed" || cause.code == "tools.time_limit") {
      report.unchecked.push_back({"upgrades", "whether the package upgrades on this host",
                                  cause.evidence.empty() ? cause.message : first_line_of(cause.evidence)});
    }
  }
}

void check_host(const Checked_Host& host, const std::optional<Plan>& plan, Check_Report& report) {
  const Host_Services& services = host.report.services();
  const Settings& settings = host.settings;
  const Family& family = host.family;
  const velmora::Init init = host.init;
  check_in_time(host, report, [&] {
    if (plan) {
      check_displaced_settings(*plan, report);
    }
  });
  check_in_time(host, report, [&] {
    host_check::check_tools(*services.system, family, init, report);
    host_check::check_directories(services, settings, family, init, report);
    if (settings.automatic_upgrades()) {
      host_check::check_units(*services.system, family, init, report);
      host_check::check_schedule(*services.system, settings, family, init, report);
    }
  });
  check_in_time(host, report, [&] {
    family.check(settings, services, init, report);
    if (const auto obstacle = family.find_cycle_obstacle(services)) {
      report.findings.push_back(*obstacle);
    }
  });
  check_in_time(host, report,
                [&] { append(report.findings, family.find_weaknesses(settings, services, init)); });
}

void note_what_is_cut(const Report_Services& services, Check_Report& report) {
  if (const auto cut = services.first_cut()) {
    report.unchecked.push_back({"time_limit", "all that the host's tools would have told",
                                fmt::format("\"{}\" did not end in time", *cut)});
  }
}

json_document::Json to_json(const Listed_Key& key) {
  return {{"keyring", key.keyring},
          {"fingerprint", json_document::text_or_null(key.fingerprint)},
          {"primary", json_document::text_or_null(key.primary)},
          {"user_names", key.user_names},
          {"algorithm", key.algorithm},
          {"bits", key.bits},
          {"created", key.created},
          {"expires", json_document::text_or_null(key.expires)},
          {"revoked", key.is_revoked},
          {"can_sign", key.can_sign}};
}

// A key, its subkeys indented below it.
std::string describe(const Listed_Key& key) {
  const bool is_primary = key.fingerprint == key.primary;
  std::string text =
      fmt::format("{}{} ({} {}, created {}, {}{}{})\n", is_primary ? "Trusted key " : "    Subkey ",
                  key.fingerprint.empty() ? "without a fingerprint" : key.fingerprint, key.algorithm,
                  key.bits, key.created, key.expires.empty() ? "never expires" : "expires " + key.expires,
                  key.is_revoked ? ", revoked" : "", key.can_sign ? "" : ", does not sign");
  for (const auto& name : key.user_names) {
    text += "    " + printable(name) + "\n";
  }
  return text;
}

std::string on_one_line(const std::string& text) {
  return printable_lines(text, "\\n");
}

std::string count_of(std::size_t number) {
  return number == 1 ? "1 finding." : fmt::format("{} findings.", number);
}

}  // namespace

Check_Report make_check_report(const Settings& settings, const Host_Services& services, bool online) {
  return make_check_report(settings, services, online, Family_Registry::built_in());
}

Check_Report make_check_report(const Settings& settings, const Host_Services& services, bool online,
                               const Family_Registry& registry) {
  return make_check_report(settings, Report_Services(services, online ? ONLINE_REPORT_LIMIT : REPORT_LIMIT),
                           online, registry);
}

Check_Report make_check_report(const Settings& settings, const Report_Services& services, bool online,
                               const Family_Registry& registry) {
  Host_Filesystem& filesystem = *services.services().filesystem;
  Check_Report report;
  append(report.findings, state_directory::find_faults(settings));
  append(report.findings, find_metrics_file_faults(settings.metrics_file()));
  if (const Staging_Layout layout = registry.staging_layout(); !layout.templates.empty()) {
    append(report.findings, find_staging_tree_faults(settings.staging_directory(), layout));
    append(report.findings, find_foreign_files(settings.staging_directory(), layout));
  }
  if (const Family* const family = registry.find(filesystem)) {
    const Checked_Host host = {settings, services, *family, registry, find_init(filesystem)};
    append(report.findings, family->find_setting_faults(settings));
    append(report.findings, find_keyring_faults(settings.staging_directory(), family->staging_layout()));
    const auto plan = plan_cycle(host, report);
    check_host(host, plan, report);
    check_upgrades(host, online, files_of(plan), report);
    note_what_is_cut(services, report);
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
  document["keys"] = json_document::Json::array();
  for (const auto& key : report.keys) {
    document["keys"].push_back(to_json(key));
  }
  return json_document::text_of(document);
}

std::string to_text(const Check_Report& report) {
  std::string text;
  for (const auto& key : report.keys) {
    text += describe(key);
  }
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
