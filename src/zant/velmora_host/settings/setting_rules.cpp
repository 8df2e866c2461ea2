#include <zant/velmora_host/settings/setting_rules.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/settings/address_credentials.hpp>
#include <zant/velmora_host/settings/package_patterns.hpp>

#include <zant/logging/severity_level.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <regex>
#include <string_view>
#include <utility>

namespace zant::velmora_host::setting_rules {
namespace {

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

constexpr const char* URL_REMEDY =
    "must be an address such as https://repo.example/path, without blanks or quotes";
constexpr const char* CHANNEL_REMEDY = "must be a name of letters, digits and . _ - + ~ /";

// Each where a package manager of the family finds credentials that others cannot read.
constexpr const char* APT_CREDENTIALS_REMEDY =
    "must not hold a user name or password, which every user of the host could read: write \"machine HOST "
    "login "
    "USER password PASSWORD\" into a file of mode 0600, /etc/apt/auth.conf.d/NAME.conf";
constexpr const char* DNF_CREDENTIALS_REMEDY =
    "must not hold a user name or password, which every user of the host could read: let the server ask for "
    "a "
    "certificate instead, and name it and its key with sslclientcert and sslclientkey in /etc/dnf/dnf.conf";
constexpr const char* CHOCOLATEY_CREDENTIALS_REMEDY =
    "must not hold a user name or password, which other users could read: add the source of this location "
    "yourself, with the options --user and --password of \"choco source add\"";

bool has_control_character(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

Setting_Rule matching(const char* type, const char* pattern, const char* remedy) {
  return {type, {}, [expression = std::regex(pattern), remedy](const std::string& value) {
            return std::regex_match(value, expression) ? "" : remedy;
          }};
}

Setting_Rule without_credentials(Setting_Rule rule, const char* remedy) {
  rule.find_fault = [find_other_fault = std::move(rule.find_fault), remedy](const std::string& value) {
    return address_credentials::are_in(value) ? remedy : find_other_fault(value);
  };
  return rule;
}

std::string find_directory_fault(const std::string& value) {
  const bool is_right = boost::filesystem::path(value).is_absolute() && !has_control_character(value);
  return is_right ? "" : "must be the absolute path of a directory";
}

// The node exporter reads files of this name alone.
std::string find_metrics_file_fault(const std::string& value) {
  const bool is_right = boost::filesystem::path(value).is_absolute() && value.ends_with(".prom") &&
                        !has_control_character(value);
  return is_right ? "" : "must be the absolute path of a file whose name ends in .prom, or empty";
}

// It goes into a command line of Windows' shell as it is.
std::string find_shell_fault(const std::string& value) {
  const bool is_right = value.find_first_of("&|<>^%") == std::string::npos && !has_control_character(value);
  return is_right ? "" : "must be one line of text without & | < > ^ and %, which cmd.exe would interpret";
}

constexpr const char* ORIGIN_NAMES =
    "o, origin, l, label, a, suite, archive, c, component, site, n, codename";

bool is_origin_name(const std::string& text) {
  static const std::array<std::string_view, 12> known = {
      "o", "origin", "l", "label", "a", "suite", "archive", "c", "component", "site", "n", "codename"};
  return std::find(known.begin(), known.end(), text) != known.end();
}

bool is_matcher(const std::string& text) {
  const std::size_t separator = text.find('=');
  if (separator == std::string::npos || text.find('=', separator + 1) != std::string::npos) {
    return false;
  }
  const std::string name = boost::algorithm::trim_copy(text.substr(0, separator));
  const std::string value = boost::algorithm::trim_copy(text.substr(separator + 1));
  return is_origin_name(name) && !value.empty();
}

// A comma that is part of a value is written with a backslash before it.
std::vector<std::string> split_matchers(const std::string& entry) {
  std::vector<std::string> matchers(1);
  for (std::size_t position = 0; position < entry.size(); ++position) {
    if (entry.compare(position, 2, "\\,") == 0) {
      matchers.back() += ',';
      ++position;
    } else if (entry[position] == ',') {
      matchers.emplace_back();
    } else {
      matchers.back() += entry[position];
    }
  }
  return matchers;
}

std::string find_entry_fault(const std::string& entry) {
  for (const auto& matcher : split_matchers(entry)) {
    if (matcher.find_first_of("\"\\") != std::string::npos || has_control_character(matcher)) {
      return fmt::format("the entry \"{}\" must not contain quotes, backslashes or control characters",
                         printable(entry));
    }
    if (!is_matcher(matcher)) {
      return fmt::format(
          "in the entry \"{}\", \"{}\" must be NAME=VALUE with a value and one of the names {}",
          printable(entry), printable(matcher), ORIGIN_NAMES);
    }
  }
  return "";
}

std::string find_origins_fault(const std::string& origins) {
  std::vector<std::string> entries;
  boost::algorithm::split(entries, origins, boost::algorithm::is_any_of(";"));
  // The library drops what is empty between two separators.
  std::erase(entries, "");
  if (entries.empty()) {
    return "must name at least one origin, such as o=NAME";
  }
  for (const auto& entry : entries) {
    // Blanks would become an entry that matches nothing.
    if (boost::algorithm::trim_copy(entry).empty()) {
      return "must not contain an entry of blanks";
    }
    if (const std::string fault = find_entry_fault(entry); !fault.empty()) {
      return fault;
    }
  }
  return "";
}

std::string find_package_patterns_fault(const std::string& value) {
  const char* const package = velmora::Package_Constants::PACKAGE_NAME;
  bool allows_package = false;
  for (const auto& pattern : package_patterns::split(value)) {
    if (!package_patterns::is_pattern(pattern)) {
      return fmt::format(
          "the pattern \"{}\" must consist of letters, digits and + . _ - and the wildcards * ? [...]",
          printable(pattern));
    }
    if (pattern == "*") {
      return "must not hold the pattern *, which allows every package: leave the setting empty for that";
    }
    allows_package = allows_package || package_patterns::allows(pattern, package);
  }
  return allows_package ? "" : fmt::format("must allow {0} itself, for example {0}*", package);
}

}  // namespace

Setting_Rule whole_number(int smallest, int largest, const std::string& unit) {
  return {fmt::format("whole number from {} to {}", smallest, largest), {}, [=](const std::string& value) {
            int number = 0;
            const char* const end = value.data() + value.size();
            const auto [stopped_at, error] = std::from_chars(value.data(), end, number);
            const bool is_right =
                error == std::errc() && stopped_at == end && number >= smallest && number <= largest;
            return is_right
                       ? ""
                       : fmt::format("must be a whole number of {} from {} to {}", unit, smallest, largest);
          }};
}

Setting_Rule truth_value() {
  return one_of({"true", "false", "yes", "no", "on", "off"});
}

Setting_Rule one_of(const std::vector<std::string>& choices) {
  const std::string list = boost::algorithm::join(choices, ", ");
  return {"one of " + list, choices, [choices, list](const std::string& value) {
            const bool is_known = std::find(choices.begin(), choices.end(), value) != choices.end();
            return is_known ? "" : "must be one of " + list;
          }};
}

Setting_Rule log_level() {
  std::vector<std::string> names;
  for (auto level = static_cast<std::uint32_t>(logging::severity_level::trace);; ++level) {
    const std::string_view name = logging::to_string(static_cast<logging::severity_level>(level));
    if (name.empty()) {
      return one_of(names);
    }
    names.emplace_back(name);
  }
}

Setting_Rule directory() {
  return {"absolute path of a directory", {}, find_directory_fault};
}

Setting_Rule metrics_file() {
  return {"absolute path of a file that ends in .prom", {}, find_metrics_file_fault};
}

Setting_Rule apt_url() {
  return without_credentials(matching("URL that APT reads", APT_URL, URL_REMEDY), APT_CREDENTIALS_REMEDY);
}

Setting_Rule dnf_url() {
  return without_credentials(matching("http, https, ftp or file URL", DNF_URL, URL_REMEDY),
                             DNF_CREDENTIALS_REMEDY);
}

Setting_Rule key_url() {
  return without_credentials(
      matching("http, https, ftp or file URL", KEY_URL,
               "must be an http, https, ftp or file address without blanks, quotes or anything that a "
               "shell would interpret"),
      "must not hold a user name or password, which every user of the host could read: copy the key to the "
      "host, and name it with a file:// address");
}

Setting_Rule channel() {
  return matching("name of letters, digits and . _ - + ~ /", CHANNEL, CHANNEL_REMEDY);
}

Setting_Rule dnf_channel() {
  return matching("name of letters, digits and . _ - + ~ / $", DNF_CHANNEL,
                  "must be a name of letters, digits and . _ - + ~ / $");
}

Setting_Rule origins() {
  return {"entries of NAME=VALUE[,NAME=VALUE...], separated by semicolons", {}, find_origins_fault};
}

Setting_Rule throttle() {
  return matching("number, with k, M, G or % after it", THROTTLE,
                  "must be a speed such as 500k, or a percentage");
}

Setting_Rule calendar() {
  return matching("systemd calendar expression", CALENDAR,
                  "must be a systemd calendar expression on one line, such as Mon..Fri 03:00");
}

Setting_Rule time_span() {
  return matching("systemd time span", TIME_SPAN, "must be a systemd time span on one line, such as 30min");
}

Setting_Rule package_name_patterns() {
  return {"patterns of package names, separated by blanks", {}, find_package_patterns_fault};
}

Setting_Rule shell_words(const std::string& type) {
  return {type, {}, find_shell_fault};
}

Setting_Rule chocolatey_source() {
  return without_credentials(shell_words("location of a Chocolatey source"), CHOCOLATEY_CREDENTIALS_REMEDY);
}

}  // namespace zant::velmora_host::setting_rules
