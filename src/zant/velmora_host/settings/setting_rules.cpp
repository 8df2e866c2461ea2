#include <zant/velmora_host/settings/setting_rules.hpp>

#include <zant/velmora_host/base/printable.hpp>

#include <zant/logging/severity_level.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <regex>
#include <string_view>
#include <vector>

namespace zant::velmora_host {
namespace {

using Check = std::function<std::string(const std::string&)>;

bool has_control_character(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

Check matching(const char* pattern, const std::string& remedy) {
  return [expression = std::regex(pattern), remedy](const std::string& value) {
    return std::regex_match(value, expression) ? "" : remedy;
  };
}

Check one_of(std::vector<std::string> values) {
  return [values = std::move(values)](const std::string& value) {
    const bool is_known = std::find(values.begin(), values.end(), value) != values.end();
    return is_known ? "" : "must be one of " + boost::algorithm::join(values, ", ");
  };
}

Check whole_number(int smallest, int largest, const char* unit) {
  return [=](const std::string& value) {
    int number = 0;
    const char* const end = value.data() + value.size();
    const auto [stopped_at, error] = std::from_chars(value.data(), end, number);
    const bool is_right =
        error == std::errc() && stopped_at == end && number >= smallest && number <= largest;
    return is_right ? "" : fmt::format("must be a whole number of {} from {} to {}", unit, smallest, largest);
  };
}

std::string check_directory(const std::string& value) {
  const bool is_right = boost::filesystem::path(value).is_absolute() && !has_control_character(value);
  return is_right ? "" : "must be the absolute path of a directory";
}

// The node exporter reads files of this name alone.
std::string check_metrics_file(const std::string& value) {
  const bool is_path = boost::filesystem::path(value).is_absolute() && value.ends_with(".prom") &&
                       !has_control_character(value);
  return value.empty() || is_path ? ""
                                  : "must be the absolute path of a file whose name ends in .prom, or empty";
}

// It goes into a command line of Windows' shell as it is.
std::string check_shell_words(const std::string& value) {
  const bool is_right = value.find_first_of("&|<>^%") == std::string::npos && !has_control_character(value);
  return is_right ? "" : "must be one line of text without & | < > ^ and %, which cmd.exe would interpret";
}

// What follows the scheme is a host, or for a local repository an absolute path. Neither blanks nor quotes
// nor what begins a comment: these values end up in the middle of a line of a package manager's file.
constexpr const char* APT_URL =
    R"((?:[a-z][a-z0-9+.-]*://[\w.~@:%\[\]-]+|(?:file|copy|cdrom|mirror\+file):/)[\w.~:/?\[\]@!$&()*+,;=%-]*)";
constexpr const char* DNF_URL =
    R"((?:(?:https?|ftp)://[\w.~@:%$\[\]-]+|file:///)[\w.~:/?\[\]@!$&()*+,;=%-]*)";
// It is a word of a shell command as well.
constexpr const char* KEY_URL = R"((?:(?:https?|ftp)://[\w.@:-]+|file:///)[\w.~:/@+,=%-]*)";
// A suite or a directory of a repository.
constexpr const char* CHANNEL = R"(\w[\w.~+/-]*)";
constexpr const char* DNF_CHANNEL = R"([\w$][\w.~+$/-]*)";
constexpr const char* THROTTLE = R"(\d+(?:\.\d+)?[kKmMgG%]?)";
constexpr const char* CALENDAR = R"([\w *:/,.~+-]*)";
constexpr const char* TIME_SPAN = R"([\w .]*)";

const std::vector<Setting_Rule>& rules() {
  static const std::string url =
      "must be an address such as https://repo.example/path, without blanks or quotes";
  static const std::string key_url =
      "must be an http, https, ftp or file address without blanks, quotes or anything that a shell would "
      "interpret";
  static const std::string channel = "must be a name of letters, digits and . _ - + ~ /";
  static const std::string calendar =
      "must be a systemd calendar expression on one line, such as Mon..Fri 03:00";
  static const std::string delay = "must be a systemd time span on one line, such as 30min";
  static const std::string throttle = "must be a speed such as 500k, or a percentage";
  static const Check kilobytes = whole_number(0, std::numeric_limits<int>::max(), "kB/s");
  static const std::vector<Setting_Rule> all = {
      {"minder.interval", whole_number(1, 3600, "seconds")},
      {"minder.automatic_upgrades", one_of({"true", "false", "yes", "no", "on", "off"})},
      {"minder.purge_on_removal", one_of({"true", "false", "yes", "no", "on", "off"})},
      {"minder.staging_directory", check_directory},
      {"minder.state_directory", check_directory},
      {"minder.base_directory", check_directory},
      {"minder.command_time_limit", whole_number(1, 86400, "seconds")},
      {"minder.command_kill_delay", whole_number(1, 600, "seconds")},
      {"minder.metrics_file", check_metrics_file},
      {"minder.log.level", one_of({"trace", "debug", "info", "notice", "warning", "error", "fatal"})},
      {"minder.log.format", one_of({"auto", "terminal", "journal"})},
      {"package.apt.repo.url", matching(APT_URL, url)},
      {"package.apt.repo.channel", matching(CHANNEL, channel)},
      {"package.apt.repo.origins_pattern", find_origins_fault},
      {"package.apt.repo.bandwidth_limit", kilobytes},
      {"package.apt.upgrade_timer.on_calendar", matching(CALENDAR, calendar)},
      {"package.apt.upgrade_timer.randomized_delay", matching(TIME_SPAN, delay)},
      {"package.dnf.repo.url", matching(DNF_URL, url)},
      {"package.dnf.repo.baseurl", matching(DNF_URL, url)},
      {"package.dnf.repo.channel", matching(DNF_CHANNEL, channel)},
      {"package.dnf.repo.gpg_key", matching(KEY_URL, key_url)},
      {"package.dnf.repo.throttle", matching(THROTTLE, throttle)},
      {"package.dnf.upgrade_timer.on_calendar", matching(CALENDAR, calendar)},
      {"package.dnf.upgrade_timer.randomized_delay", matching(TIME_SPAN, delay)},
      {"package.choco.repo.source_location", check_shell_words},
      {"package.choco.repo.channel", matching(CHANNEL, channel)},
      {"package.choco.upgrade_scheduler.options", check_shell_words},
  };
  return all;
}

std::string group_of(const std::string& key) {
  return key.substr(0, key.find('.', key.find('.') + 1));
}

std::vector<std::string> split(const std::string& text, const char* separators) {
  std::vector<std::string> parts;
  boost::algorithm::split(parts, text, boost::algorithm::is_any_of(separators));
  return parts;
}

bool is_matcher(const std::string& text) {
  static const std::array<std::string_view, 12> known = {
      "o", "origin", "l", "label", "a", "suite", "archive", "c", "component", "site", "n", "codename"};
  const std::size_t separator = text.find('=');
  if (separator == std::string::npos || text.find('=', separator + 1) != std::string::npos) {
    return false;
  }
  const std::string name = boost::algorithm::trim_copy(text.substr(0, separator));
  return std::find(known.begin(), known.end(), name) != known.end();
}

std::string find_origin_fault(const std::string& entry) {
  // A comma that is part of a value is written with a backslash before it.
  const std::string without_commas_in_values = boost::algorithm::replace_all_copy(entry, "\\,", "");
  if (without_commas_in_values.find_first_of("\"\\") != std::string::npos || has_control_character(entry)) {
    return fmt::format("the entry \"{}\" must not contain quotes, backslashes or control characters",
                       printable(entry));
  }
  for (const auto& matcher : split(without_commas_in_values, ",")) {
    if (!is_matcher(matcher)) {
      return fmt::format(
          "in the entry \"{}\", \"{}\" must be NAME=VALUE with one of the names o, origin, l, label, a, "
          "suite, "
          "archive, c, component, site, n, codename",
          printable(entry), printable(matcher));
    }
  }
  return "";
}

}  // namespace

const Setting_Rule* find_setting_rule(const std::string& key) {
  const auto& all = rules();
  const auto rule =
      std::find_if(all.begin(), all.end(), [&key](const auto& candidate) { return candidate.key == key; });
  return rule == all.end() ? nullptr : &*rule;
}

std::string known_setting_keys(const std::string& unknown_key) {
  std::vector<std::string> all;
  std::vector<std::string> of_group;
  for (const auto& rule : rules()) {
    all.push_back(rule.key);
    if (group_of(rule.key) == group_of(unknown_key)) {
      of_group.push_back(rule.key);
    }
  }
  return boost::algorithm::join(of_group.empty() ? all : of_group, ", ");
}

std::string find_origins_fault(const std::string& origins) {
  for (const auto& entry : split(origins, ";")) {
    // Nothing between two separators is dropped, but blanks would become an entry that matches nothing.
    if (!entry.empty() && boost::algorithm::trim_copy(entry).empty()) {
      return "must not contain an entry of blanks";
    }
    const std::string fault = entry.empty() ? "" : find_origin_fault(entry);
    if (!fault.empty()) {
      return fault;
    }
  }
  return "";
}

}  // namespace zant::velmora_host
