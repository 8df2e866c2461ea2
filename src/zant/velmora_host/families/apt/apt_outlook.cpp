#include <zant/velmora_host/families/apt/apt_outlook.hpp>

#include <zant/velmora_host/families/apt/apt_health.hpp>
#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/daily_job.hpp>
#include <zant/velmora_host/families/apt/disk_room.hpp>
#include <zant/velmora_host/families/apt/dpkg_state.hpp>
#include <zant/velmora_host/families/apt/held_locks.hpp>
#include <zant/velmora_host/families/apt/last_run.hpp>
#include <zant/velmora_host/families/apt/online_refresh.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/periodic_switches.hpp>
#include <zant/velmora_host/families/apt/planned_configuration.hpp>
#include <zant/velmora_host/families/apt/refresh_state.hpp>
#include <zant/velmora_host/families/apt/upgrade_log.hpp>
#include <zant/velmora_host/families/apt/upgrade_trial.hpp>
#include <zant/velmora_host/families/apt/upgrade_units.hpp>
#include <zant/velmora_host/families/configured_causes.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <set>
#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;

// In files and units that no cycle writes. Holds are not among them: a cycle releases that of the package.
const std::set<std::string> CONFIGURED = {"apt.configuration_broken",
                                          "cron.job_missing",
                                          "cron.not_running",
                                          "dependency.excluded",
                                          "origin.not_allowed",
                                          "origins.unreadable",
                                          "package.blacklisted",
                                          "package.not_whitelisted",
                                          "package.pinned",
                                          "patterns.unreadable",
                                          "periodic.not_due",
                                          "periodic.off",
                                          "periodic.refresh_off",
                                          "periodic.unreadable",
                                          "periodic.upgrades_off",
                                          "service.changed",
                                          "service.condition_unmet",
                                          "service.invalid",
                                          "service.masked",
                                          "service.replaced",
                                          "timer.elapsed",
                                          "timer.elsewhere",
                                          "timer.invalid",
                                          "timer.masked",
                                          "upgrades.not_today",
                                          "upgrades.on_shutdown_only"};

// Settings for questions: nothing is locked, nothing is written outside of the private directory, hooks of
// the host's do not run, and without a directory of methods APT has no way to any server.
std::string settings_for_questions(const path& directory, bool online) {
  const std::string cache = (directory / "cache").string();
  std::string text = fmt::format(
      "Dir::Cache \"{0}/\";\nDir::Cache::archives \"archives/\";\nDir::Cache::pkgcache \"pkgcache.bin\";\n"
      "Dir::Cache::srcpkgcache \"srcpkgcache.bin\";\nDebug::NoLocking \"true\";\n"
      "Unattended-Upgrade::LogDir \"{1}/\";\n#clear APT::Update::Pre-Invoke;\n#clear "
      "APT::Update::Post-Invoke;\n"
      "#clear APT::Update::Post-Invoke-Success;\n#clear AptCli::Hooks;\n",
      cache, directory.string());
  if (!online) {
    text += fmt::format("Dir::Bin::methods \"{}/\";\n", (directory / "no-methods").string());
  }
  return text;
}

path write_settings(const Outlook_Question& question) {
  path file = question.private_directory / "apt-questions.conf";
  question.services.filesystem->create_directories(question.private_directory / "cache" / "archives" /
                                                   "partial");
  question.services.filesystem->write_file(
      file, settings_for_questions(question.private_directory, question.online),
      velmora::Write_Flag::REPLACE);
  return file;
}

Upgrade_Units find_units(const Outlook_Question& question) {
  return question.init == velmora::Init::systemd ? find_upgrade_units(question) : find_cron_job(question);
}

// What a run that is going on explains: it holds locks, and leaves packages half unpacked until it is done.
bool is_explained_by_run(const Cause& cause) {
  return boost::algorithm::starts_with(cause.code, "dpkg.") || cause.code == "lock.held" ||
         cause.code == "package.half_installed" || cause.code == "apt.check_failed" ||
         cause.code == "apt.lists_broken" || cause.code == "tools.failed" ||
         cause.code == "tools.time_limit" || cause.code == "solver.unmet";
}

class Search {
 public:
  explicit Search(const Outlook_Question& question)
      : question_(question), configuration_(write_settings(question)) {}

  Upgrade_Outlook run() {
    const auto units = find_units(question_);
    const auto installed = find_installed_package(question_);
    outlook_.installed = installed.version;
    outlook_.next_run = units.next_run;
    outlook_.last_run = units.last_run;
    append(outlook_.causes, installed.causes);
    append(outlook_.causes, find_interrupted_work(question_));
    append(outlook_.causes, find_dpkg_faults(question_));
    append(outlook_.causes, find_simulating_dpkg(question_));
    append(outlook_.causes, find_held_locks(question_));
    append(outlook_.causes, units.causes);
    const auto health = find_apt_health(question_, configuration_);
    append(outlook_.causes, health.causes);
    if (health.can_work && !installed.version.empty()) {
      look_closer_(APT_Settings(dump_(health), *question_.services.filesystem), installed, units);
    } else {
      append(outlook_.causes, find_full_disks(question_, {}, Upgrade_Log().directory));
    }
    forget_what_a_run_explains_(units);
    mark_configured(outlook_.causes, CONFIGURED);
    return std::move(outlook_);
  }

 private:
  std::string dump_(const APT_Health& health) {
    if (question_.planned.empty()) {
      return health.dump;
    }
    write_planned_configuration(question_);
    const auto dump = ask(question_, with_planned_configuration(question_) + "apt-config dump");
    return dump.succeeded() ? dump.words : health.dump;
  }

  void look_closer_(const APT_Settings& settings, const Installed_Package& installed,
                    const Upgrade_Units& units) {
    append(outlook_.causes, find_periodic_switches(settings));
    append(outlook_.causes, find_daily_job_faults(question_, settings));
    append(outlook_.causes, find_unusable_log(question_, settings));
    append(outlook_.causes,
           find_closed_temporary_directory(question_, settings.value("APT::Sandbox::User").value_or("_apt")));
    const auto online =
        question_.online ? refresh_online(question_, configuration_, settings) : Online_Refresh{};
    if (online.lists) {
      use_lists_(*online.lists);
    }
    const auto log = upgrade_log_of(settings);
    const path archives = question_.private_directory / "archives";
    auto trial = try_upgrade(question_, configuration_, settings, installed, units, archives);
    outlook_.offered = trial.offered;
    outlook_.newer_is_offered = trial.newer_is_offered;
    if (trial.next_run) {
      outlook_.next_run = trial.next_run;
    }
    append(outlook_.causes, std::move(trial.causes));
    append(outlook_.causes, find_periodic_delays(question_, settings, units));
    append(outlook_.causes, find_full_disks(question_, trial.room, log.directory));
    if (trial.newer_is_offered) {
      append(outlook_.causes, find_failed_upgrade(question_, log, trial.offered, trial.is_downloaded));
    }
    judge_refresh_(online, trial, archives, units, settings);
  }

  // When the service asked the repository last, as far as its success can be told from what it leaves.
  static std::optional<std::chrono::system_clock::time_point> last_refresh_(const Upgrade_Units& units,
                                                                            const APT_Settings& settings) {
    const bool is_always = settings.value("APT::Periodic::Update-Package-Lists") == "always";
    return is_always ? units.last_refresh : std::nullopt;
  }

  void judge_refresh_(const Online_Refresh& online, const Upgrade_Trial& trial, const path& archives,
                      const Upgrade_Units& units, const APT_Settings& settings) {
    if (online.lists) {
      outlook_.refreshed = question_.now;
      if (trial.newer_is_offered && !trial.is_downloaded) {
        append(outlook_.causes, find_missing_package(question_, configuration_, trial.offered, archives));
        append(outlook_.causes, find_conffile_prompt(question_, configuration_, trial.offered, archives));
      }
      return;
    }
    if (!trial.index.empty()) {
      auto state = find_refresh_state(question_, trial.index, !online.causes.empty(),
                                      last_refresh_(units, settings), units);
      outlook_.refreshed = state.refreshed;
      // A cycle that registers the repository refreshes it too.
      if (state.refreshed || question_.planned.empty()) {
        append(outlook_.causes, std::move(state.causes));
      }
    }
    for (auto cause : online.causes) {
      // What is known to be offered already is installed all the same.
      cause.effect = trial.newer_is_offered ? Cause_Effect::OBSCURES : cause.effect;
      outlook_.causes.push_back(std::move(cause));
    }
  }

  void use_lists_(const path& lists) {
    auto& filesystem = *question_.services.filesystem;
    const std::string text = settings_for_questions(question_.private_directory, question_.online);
    filesystem.write_file(configuration_, text + fmt::format("Dir::State::lists \"{}/\";\n", lists.string()),
                          velmora::Write_Flag::REPLACE);
  }

  // A run may also have begun in between.
  void forget_what_a_run_explains_(const Upgrade_Units& before) {
    auto& causes = outlook_.causes;
    if (std::none_of(causes.begin(), causes.end(), is_explained_by_run)) {
      return;
    }
    if (before.is_running || find_units(question_).is_running) {
      causes.erase(std::remove_if(causes.begin(), causes.end(), is_explained_by_run), causes.end());
    }
  }

  const Outlook_Question& question_;
  path configuration_;
  Upgrade_Outlook outlook_;
};

}  // namespace

Upgrade_Outlook find(const Outlook_Question& question) {
  return Search(question).run();
}

std::vector<path> inputs() {
  return {"/etc/apt",
          "/etc/apt/apt.conf.d",
          "/etc/apt/preferences.d",
          "/etc/apt/sources.list.d",
          "/etc/apt/trusted.gpg.d",
          "/etc/systemd/system",
          "/etc/systemd/system/apt-daily.timer.d",
          "/etc/systemd/system/apt-daily.service.d",
          "/etc/systemd/system/apt-daily-upgrade.timer.d",
          "/etc/systemd/system/apt-daily-upgrade.service.d",
          "/var/lib/apt/lists",
          "/var/lib/apt/periodic",
          "/var/lib/dpkg/status",
          "/var/lib/dpkg/updates",
          Upgrade_Log().file,
          "/usr/bin/unattended-upgrade"};
}

}  // namespace zant::velmora_host::apt_outlook
