#include <zant/velmora_host/settings/setting_table.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace zant::velmora_host {
namespace {

using namespace setting_rules;  // NOLINT(google-build-using-namespace): the table reads as a table

std::vector<Setting> program_settings(const Setting_Defaults& defaults) {
  using enum Setting_System;
  constexpr auto PROGRAM = Setting_Group::PROGRAM;
  return {
      {.key = "minder.interval",
       .group = PROGRAM,
       .system = ANY,
       .rule = whole_number(1, 3600, "seconds"),
       .unit = "seconds",
       .default_value = "3600",
       .meaning = "Time between the end of a cycle and the start of the next."},
      {.key = "minder.automatic_upgrades",
       .group = PROGRAM,
       .system = ANY,
       .rule = truth_value(),
       .default_value = "true",
       .meaning =
           "Whether the host's automatic upgrades are set up. When false, the repository is registered and "
           "holds are released, and the host's automatic upgrades are neither set up nor changed.",
       .detail = "Those that an earlier setting set up stay, until `package-minder purge --upgrades-only`."},
      {.key = "minder.repository_packages",
       .group = PROGRAM,
       .system = POSIX,
       .rule = package_name_patterns(),
       .default_note = "all packages",
       .meaning =
           "The packages that may come from the repository: patterns of names, with the wildcards `*`, "
           "`?` and `[...]`, separated by blanks. What none of them allows is neither offered nor "
           "installed from it.",
       .detail = "One of them must allow zant-velmora. On an APT host no other repository of the host may be "
                 "on the same server: a cycle with this setting is refused then."},
      {.key = "minder.purge_on_removal",
       .group = PROGRAM,
       .system = POSIX,
       .rule = truth_value(),
       .default_value = "false",
       .meaning =
           "Whether the removal of the package package-minder undoes all changes to the host. When false "
           "they stay; `package-minder purge` undoes them at any time before the removal.",
       .detail = "A bad value is found when the program runs: a removal that meets one undoes nothing and "
                 "says so."},
      {.key = "minder.staging_directory",
       .group = PROGRAM,
       .system = POSIX,
       .rule = directory(),
       .default_value = defaults.staging_directory,
       .meaning =
           "The templates and files that are installed on hosts. It must belong to root, and nobody else "
           "may write to it.",
       .detail = "A tree that lacks a file or holds a template with unbalanced braces is refused."},
      {.key = "minder.state_directory",
       .group = PROGRAM,
       .system = ANY,
       .rule = directory(),
       .default_value = defaults.state_directory,
       .default_note = R"(on Windows `%ProgramData%\package-minder\state`)",
       .meaning = "Rendered files, the record of the last cycle and a lock.",
       .detail = "A directory that cannot be written to, that others may write to or replace, or that holds "
                 "something of anybody else's, is refused."},
      {.key = "minder.base_directory",
       .group = PROGRAM,
       .system = WINDOWS,
       .rule = directory(),
       .default_value = defaults.base_directory,
       .default_note = "on Windows `%ProgramData%`",
       .meaning = "The directory that contains Chocolatey's directory `chocolatey`.",
       .detail = "Refused when it is missing, has `&`, `^`, `%` or characters outside the system's code "
                 "page, or is "
                 "longer than 194 characters."},
      {.key = "minder.command_time_limit",
       .group = PROGRAM,
       .system = ANY,
       .rule = whole_number(1, 86400, "seconds"),
       .unit = "seconds",
       .default_value = "1800",
       .meaning =
           "Time that one command may take before it is ended. On Linux, commands that install, upgrade or "
           "remove packages are never ended.",
       .detail = "Raise `TimeoutStopSec` of the service with it."},
      {.key = "minder.command_kill_delay",
       .group = PROGRAM,
       .system = POSIX,
       .rule = whole_number(1, 600, "seconds"),
       .unit = "seconds",
       .default_value = "10",
       .meaning = "Time between SIGTERM and SIGKILL for a command that is being ended."},
      {.key = "minder.metrics_file",
       .group = PROGRAM,
       .system = ANY,
       .rule = metrics_file(),
       .default_note = "none",
       .meaning = "File that metrics are written to after each cycle, for the textfile collector of "
                  "Prometheus' node "
                  "exporter.",
       .detail = "A file that cannot be written is logged after each cycle. See status.md for the metrics."},
      {.key = "minder.overdue_after",
       .group = PROGRAM,
       .system = ANY,
       .rule = whole_number(1, 365, "days"),
       .unit = "days",
       .default_value = "7",
       .meaning =
           "Time that a newer version may be offered without being installed, before the verdict calls it "
           "overdue."},
      {.key = "minder.verdict_interval",
       .group = PROGRAM,
       .system = ANY,
       .rule = whole_number(60, 604800, "seconds"),
       .unit = "seconds",
       .default_value = "21600",
       .meaning =
           "Longest time after which the service finds out again whether the package upgrades on this host. "
           "It does so after a cycle, and earlier when something has changed that the answer depends on."},
      {.key = "minder.log.level",
       .group = PROGRAM,
       .system = ANY,
       .rule = log_level(),
       .default_value = "info",
       .meaning = "Minimum severity to log."},
      {.key = "minder.log.format",
       .group = PROGRAM,
       .system = ANY,
       .rule = one_of({"auto", "terminal", "journal"}),
       .default_value = "auto",
       .meaning =
           "Format of log lines. `auto` is journal when standard error is connected to the journal, else "
           "terminal."},
  };
}

std::vector<Setting> apt_settings(const Setting_Defaults& defaults) {
  constexpr auto APT = Setting_Group::APT;
  constexpr auto POSIX = Setting_System::POSIX;
  return {
      {.key = "package.apt.repo.url",
       .group = APT,
       .system = POSIX,
       .rule = apt_url(),
       .default_value = defaults.apt_url,
       .default_without_systemd = defaults.apt_url_without_systemd,
       .meaning = "Address of the repository.",
       .detail =
           "With a wrong address the source list is removed again and the cycle reports it. A user name or "
           "password in it is refused: it belongs into /etc/apt/auth.conf.d, see administration.md."},
      {.key = "package.apt.repo.channel",
       .group = APT,
       .system = POSIX,
       .rule = channel(),
       .default_value = defaults.apt_channel,
       .default_without_systemd = defaults.apt_channel_without_systemd,
       .meaning = "Suite of the repository.",
       .detail = "A wrong suite has the effect of a wrong address."},
      {.key = "package.apt.repo.origins_pattern",
       .group = APT,
       .system = POSIX,
       .rule = origins(),
       .default_value = defaults.apt_origins_pattern,
       .meaning =
           "Origins that unattended-upgrades upgrades from, beside those that the template names for the "
           "host. "
           "The names are o or origin, l or label, a, suite or archive, c or component, n or codename, and "
           "site. Name the site too, as in \"o=Quorvane Velmora Core VMS Repo,site=repo.velmora.example\": "
           "any "
           "repository can claim the same origin.",
       .detail = "One bad entry would stop unattended upgrades of everything, so it is refused."},
      {.key = "package.apt.repo.bandwidth_limit",
       .group = APT,
       .system = POSIX,
       .rule = whole_number(0, std::numeric_limits<int>::max(), "kB/s"),
       .unit = "kB/s",
       .default_value = defaults.apt_bandwidth_limit,
       .meaning = "Download limit for all of APT on the host; 0 is no limit."},
      {.key = "package.apt.upgrade_timer.on_calendar",
       .group = APT,
       .system = POSIX,
       .rule = calendar(),
       .default_note = "the distribution's schedule",
       .meaning = "When apt-daily-upgrade.timer elapses.",
       .detail =
           "When systemd rejects the expression, the drop-ins are removed again and the cycle reports it."},
      {.key = "package.apt.upgrade_timer.randomized_delay",
       .group = APT,
       .system = POSIX,
       .rule = time_span(),
       .default_note = "the distribution's delay",
       .meaning = "Maximum random delay of that timer.",
       .detail = "systemd ignores a time span that it cannot read."},
  };
}

std::vector<Setting> dnf_settings(const Setting_Defaults& defaults) {
  constexpr auto DNF = Setting_Group::DNF;
  constexpr auto POSIX = Setting_System::POSIX;
  return {
      {.key = "package.dnf.repo.url",
       .group = DNF,
       .system = POSIX,
       .rule = dnf_url(),
       .default_value = defaults.dnf_url,
       .meaning = "Address of the repositories, to which `/CHANNEL/` is added.",
       .detail = "A user name or password in it is refused, see administration.md."},
      {.key = "package.dnf.repo.channel",
       .group = DNF,
       .system = POSIX,
       .rule = dnf_channel(),
       .default_value = defaults.dnf_channel,
       .meaning = "Channel below that address."},
      {.key = "package.dnf.repo.baseurl",
       .group = DNF,
       .system = POSIX,
       .rule = dnf_url(),
       .default_note = "none",
       .meaning = "Whole address of the repository, instead of the address and the channel.",
       .detail = "A user name or password in it is refused, see administration.md."},
      {.key = "package.dnf.repo.gpg_key",
       .group = DNF,
       .system = POSIX,
       .rule = key_url(),
       .default_value = defaults.dnf_gpg_key,
       .replaces_library_default = defaults.dnf_gpg_key_is_shipped,
       .meaning = "Address of the ASCII-armoured public key that the repository's packages are signed with.",
       .detail =
           "Every cycle imports what is there: whoever controls a remote address decides which keys the "
           "host trusts. The import of a key that cannot be fetched is tried again in every cycle."},
      {.key = "package.dnf.repo.throttle",
       .group = DNF,
       .system = POSIX,
       .rule = throttle(),
       .unit = "bytes per second",
       .default_value = defaults.dnf_throttle,
       .meaning = "Download limit for the repository; 0 is no limit."},
      {.key = "package.dnf.upgrade_timer.on_calendar",
       .group = DNF,
       .system = POSIX,
       .rule = calendar(),
       .default_note = "the schedule of dnf-automatic",
       .meaning = "When dnf-automatic-install.timer elapses.",
       .detail =
           "When systemd rejects the expression, the drop-ins are removed again and the cycle reports it."},
      {.key = "package.dnf.upgrade_timer.randomized_delay",
       .group = DNF,
       .system = POSIX,
       .rule = time_span(),
       .default_note = "one hour, the delay of dnf-automatic",
       .meaning = "Maximum random delay of that timer.",
       .detail = "systemd ignores a time span that it cannot read."},
  };
}

std::vector<Setting> chocolatey_settings(const Setting_Defaults& defaults) {
  constexpr auto CHOCOLATEY = Setting_Group::CHOCOLATEY;
  constexpr auto WINDOWS = Setting_System::WINDOWS;
  return {
      {.key = "package.choco.repo.source_location",
       .group = CHOCOLATEY,
       .system = WINDOWS,
       .rule = chocolatey_source(),
       .default_note = fmt::format("`{}`, with the name of the channel", defaults.choco_source_location),
       .meaning = "Location of the source. It is used as it is, without the channel."},
      {.key = "package.choco.repo.channel",
       .group = CHOCOLATEY,
       .system = WINDOWS,
       .rule = channel(),
       .default_value = defaults.choco_channel,
       .meaning = "Part of the host name of the default location."},
      {.key = "package.choco.upgrade_scheduler.options",
       .group = CHOCOLATEY,
       .system = WINDOWS,
       .rule = shell_words("options of schtasks /CREATE"),
       .default_value = defaults.choco_schedule,
       .meaning = "When the upgrade task runs.",
       .detail =
           "With an empty value, or one that schtasks rejects, there is no task and every cycle reports it."},
  };
}

// How many characters have to be inserted, removed or replaced to make one text of the other.
std::size_t edit_distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> distances(to.size() + 1);
  for (std::size_t column = 0; column <= to.size(); ++column) {
    distances[column] = column;
  }
  for (std::size_t row = 1; row <= from.size(); ++row) {
    std::size_t diagonal = distances[0];
    distances[0] = row;
    for (std::size_t column = 1; column <= to.size(); ++column) {
      const std::size_t replaced = diagonal + (from[row - 1] == to[column - 1] ? 0 : 1);
      diagonal = distances[column];
      distances[column] = std::min({replaced, distances[column] + 1, distances[column - 1] + 1});
    }
  }
  return distances[to.size()];
}

}  // namespace

Setting_Table::Setting_Table(const Setting_Defaults& defaults) : system_(defaults.system) {
  for (const auto make : {program_settings, apt_settings, dnf_settings, chocolatey_settings}) {
    const std::vector<Setting> group = make(defaults);
    settings_.insert(settings_.end(), group.begin(), group.end());
  }
}

bool Setting_Table::applies(const Setting& setting) const {
  return setting.system == Setting_System::ANY || setting.system == system_;
}

const Setting* Setting_Table::find(const std::string& key) const {
  const auto setting = std::find_if(settings_.begin(), settings_.end(),
                                    [&key](const Setting& candidate) { return candidate.key == key; });
  return setting == settings_.end() ? nullptr : &*setting;
}

std::optional<std::string> Setting_Table::nearest_key(const std::string& unknown_key) const {
  constexpr std::size_t LONGEST_MISTAKE = 100;
  if (unknown_key.size() > LONGEST_MISTAKE) {
    return std::nullopt;
  }
  const std::string lower_case = boost::algorithm::to_lower_copy(unknown_key);
  std::optional<std::string> nearest;
  // Up to a third of the characters may be wrong.
  std::size_t smallest_distance = unknown_key.size() / 3 + 1;
  for (const auto& setting : settings_) {
    const std::size_t distance = edit_distance(lower_case, setting.key);
    if (distance < smallest_distance) {
      smallest_distance = distance;
      nearest = setting.key;
    }
  }
  return nearest;
}

const Setting_Table& setting_table() {
  static const Setting_Table table(setting_defaults());
  return table;
}

}  // namespace zant::velmora_host
