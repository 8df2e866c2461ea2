#include <zant/velmora_host/families/dnf/dnf_outlook.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/families/configured_causes.hpp>
#include <zant/velmora_host/families/dnf/obstacle_causes.hpp>
#include <zant/velmora_host/families/dnf/run_preview.hpp>
#include <zant/velmora_host/families/dnf/upgrade_run_words.hpp>
#include <zant/velmora_host/families/dnf/upgrade_units.hpp>
#include <zant/velmora_host/families/held_locks.hpp>
#include <zant/velmora_host/families/refresh_age.hpp>
#include <zant/velmora_host/families/same_address.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/dnf/dnf_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>

namespace zant::velmora_host::dnf_outlook {
namespace {

namespace DNF_Constants = velmora::DNF_Constants;

// It reads no configuration of DNF's.
constexpr const char* INSTALLED_QUERY =
    "timeout --kill-after=1 4 rpm --query --queryformat '%{{VERSION}}-%{{RELEASE}}\\n' {} 2> /dev/null";

// What the service of the distribution's package gives it; for a host whose service is not to be had.
const std::vector<std::string> USUAL_WORDS = {"/usr/bin/dnf-automatic", "/etc/dnf/automatic.conf",
                                              "--installupdates"};

// In files and units that no cycle writes.
const std::set<std::string> CONFIGURED = {"dnf.configuration_broken",
                                          "package.excluded",
                                          "package.hidden",
                                          "package.in_module",
                                          "package.installed_beside",
                                          "package.not_included",
                                          "package.version_locked",
                                          "repository.cache_only",
                                          "repository.never_expires",
                                          "repository.outranked",
                                          "repository.switched_off",
                                          "repository.unreadable",
                                          "service.changed",
                                          "service.condition_unmet",
                                          "service.confined",
                                          "service.invalid",
                                          "service.masked",
                                          "service.replaced",
                                          "service.unprivileged",
                                          "timer.condition_unmet",
                                          "timer.elapsed",
                                          "timer.far_ahead",
                                          "timer.elsewhere",
                                          "timer.invalid",
                                          "timer.masked",
                                          "upgrades.not_applied",
                                          "upgrades.security_only"};

std::string installed_version(velmora::System& system) {
  const auto answer =
      system.run_command(fmt::format(INSTALLED_QUERY, velmora::Package_Constants::PACKAGE_NAME),
                         velmora::Run_Flag::WAIT_AND_CAPTURE);
  // In the middle of an upgrade rpm has both versions, the new one last.
  const std::string versions = boost::algorithm::trim_copy(answer.output);
  return answer.exit_code == 0 ? versions.substr(versions.rfind('\n') + 1) : "";
}

// DNF's words, and the lines of its files, may hold the password of an address.
std::string without_credentials(const std::string& text) {
  std::string result;
  std::size_t begin = 0;
  for (auto mark = text.find("://"); mark != std::string::npos; mark = text.find("://", mark + 1)) {
    const auto end = text.find_first_of("/@ \t\n\v\f\r", mark + 3);
    if (mark >= begin && end != std::string::npos && text[end] == '@') {
      result += text.substr(begin, mark - begin) + "://***";
      begin = end;
    }
  }
  return result + text.substr(begin);
}

void append(Causes& causes, Causes more) {
  std::move(more.begin(), more.end(), std::back_inserter(causes));
}

bool has_blocking(const Causes& causes) {
  return std::any_of(causes.begin(), causes.end(),
                     [](const Cause& cause) { return cause.effect == Cause_Effect::BLOCKS; });
}

Causes obstacle_causes(const Run_Preview& preview) {
  if (preview.failure) {
    return {*preview.failure};
  }
  try {
    return causes_from(preview.obstacles);
  } catch (const nlohmann::json::exception& problem) {
    return {cause_of_failure(problem.what())};
  }
}

// On a host that was off there was no run that could have refreshed it.
bool had_night(const std::optional<Upgrade_Units>& units, std::chrono::system_clock::time_point now) {
  const auto start = units ? timer_start_of(*units) : std::nullopt;
  return !start || now - *start > std::chrono::hours(25);
}

std::optional<Cause> find_old_metadata(const Run_Preview& preview,
                                       std::chrono::system_clock::time_point now) {
  if (!preview.refreshed) {
    return std::nullopt;
  }
  const auto finding = find_old_refresh(
      fmt::format("/var/cache/dnf/{}-*/repodata/repomd.xml", DNF_Constants::DNF_REPO_ID), *preview.refreshed,
      now, fmt::format("dnf --refresh --repo {} makecache", DNF_Constants::DNF_REPO_ID));
  return finding ? std::optional(Cause{Cause_Effect::OBSCURES, "repository.not_refreshed",
                                       "What is known of the repository is old: " + finding->what,
                                       finding->where, finding->remedy})
                 : std::nullopt;
}

// Those of DNF hold the number of a process; its directories can be chosen.
Package_Locks locks_of(const Run_Preview& preview) {
  return {{"/var/lib/rpm/.rpm.lock", "/usr/lib/sysimage/rpm/.rpm.lock"},
          {},
          preview.lock_files,
          {"dnf", "yum", "microdnf", "rpm"},
          {"packagekitd", "package-minder"}};
}

// DNF puts in the values of variables, which nothing else knows.
std::optional<Cause> find_other_address(const Outlook_Question& question, const Run_Preview& preview) {
  const std::string wanted =
      velmora::DNF_Repo_Config(question.settings.configuration(), question.settings.staging_directory())
          .base_url;
  const bool is_comparable = !preview.address.empty() && wanted.find('$') == std::string::npos;
  if (!is_comparable || is_same_address(wanted, preview.address)) {
    return std::nullopt;
  }
  return Cause{Cause_Effect::OBSCURES, "repository.out_of_step",
               "DNF asks another repository than the settings name",
               fmt::format("{}: baseurl={}, in the settings: {}", DNF_Constants::REPO_FILE_PATH,
                           preview.address, wanted),
               "package-minder once"};
}

void add_units(Upgrade_Outlook& outlook, const Outlook_Question& question,
               const std::optional<Upgrade_Units>& units) {
  if (question.init != velmora::Init::systemd) {
    outlook.causes.push_back({Cause_Effect::BLOCKS, "timer.no_systemd",
                              "This host has no systemd, which starts the upgrades of DNF hosts",
                              "/proc/1/comm is not systemd", "Run the host with systemd"});
  } else if (!units) {
    outlook.causes.push_back({Cause_Effect::OBSCURES, "tools.failed",
                              "systemd does not tell about the timer of the host's upgrades",
                              "systemctl show dnf-automatic-install.timer dnf-automatic-install.service",
                              "systemctl daemon-reload"});
  } else {
    append(outlook.causes, find_unit_causes(*units, question.settings.automatic_upgrades(), question.now));
    // Where the service is known not to do its work, no other change matters.
    if (auto change = outlook.causes.empty() ? find_service_change(*units, *question.services.filesystem)
                                             : std::nullopt) {
      outlook.causes.push_back(*change);
    }
    outlook.next_run = next_run_of(*units, question.now);
    outlook.last_run = last_run_of(*units);
  }
}

}  // namespace

Upgrade_Outlook find(const Outlook_Question& question) {
  auto units = question.init == velmora::Init::systemd ? ask_for_upgrade_units(*question.services.system)
                                                       : std::nullopt;
  if (units) {
    std::istringstream uptime(
        question.services.filesystem->read_file("/proc/uptime", velmora::Read_Flag::WHOLE_TEXT));
    long long seconds = 0;
    const bool is_known = uptime >> seconds && time_since_epoch(seconds);
    units->uptime = std::chrono::seconds(is_known ? seconds : 0);
  }
  const auto arguments = units ? words_of_automatic(*units) : std::nullopt;
  const Run_Preview preview = preview_run(question, arguments.value_or(USUAL_WORDS));

  Upgrade_Outlook outlook;
  outlook.installed =
      preview.installed.empty() ? installed_version(*question.services.system) : preview.installed;
  outlook.offered = preview.offered;
  outlook.newer_is_offered = preview.newer_is_offered;
  outlook.refreshed = preview.refreshed;
  add_units(outlook, question, units);
  append(outlook.causes, find_held_locks(question, locks_of(preview)));
  append(outlook.causes, obstacle_causes(preview));
  const auto old_metadata =
      had_night(units, question.now) ? find_old_metadata(preview, question.now) : std::nullopt;
  for (const auto& cause : {old_metadata, find_other_address(question, preview)}) {
    if (cause) {
      outlook.causes.push_back(*cause);
    }
  }
  // dnf-automatic may end well although a package could not be installed.
  const bool is_telling = outlook.last_run && (!outlook.last_run->succeeded || outlook.newer_is_offered);
  if (is_telling && !has_blocking(outlook.causes)) {
    if (auto cause = find_cause_of_last_run(*question.services.system, *outlook.last_run, preview)) {
      outlook.causes.push_back(*cause);
    }
  }
  for (auto& cause : outlook.causes) {
    cause.evidence = without_credentials(cause.evidence);
    cause.remedy = without_credentials(cause.remedy);
  }
  mark_configured(outlook.causes, CONFIGURED);
  return outlook;
}

std::vector<boost::filesystem::path> inputs() {
  return {"/etc/dnf",
          "/etc/yum.repos.d",
          "/etc/yum",
          "/etc/distro.repos.d",
          "/var/cache/dnf",
          "/var/lib/rpm",
          "/usr/lib/sysimage/rpm",
          "/etc/systemd/system",
          "/usr/lib/systemd/system",
          "/run/systemd/system"};
}

}  // namespace zant::velmora_host::dnf_outlook
