#include <zant/velmora_host/families/apt/apt_health.hpp>

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/services/command_service.hpp>

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;

constexpr const char* DUMP = "apt-config dump";
// As shells say it.
constexpr int NO_SUCH_PROGRAM = 127;

// The first file below /etc/apt that an error names.
std::string file_in(const std::string& words) {
  constexpr std::string_view DIRECTORY = "/etc/apt/";
  for (const auto& line : lines_of(words)) {
    const auto begin = line.starts_with("E:") ? line.find(DIRECTORY) : std::string::npos;
    const auto end = begin == std::string::npos ? begin : line.find_first_of(" \t\v\f\r:'\"", begin);
    std::string file = begin == std::string::npos ? "" : line.substr(begin, end - begin);
    if (file.size() > DIRECTORY.size()) {
      return file;
    }
  }
  return "";
}

std::string remedy_for(const path& file) {
  const std::string move =
      fmt::format("mv {} {}", quoted(file.string()), quoted(file.string() + ".disabled"));
  return is_kept_by_library(file) ? move + " && package-minder once" : move;
}

bool has(const std::string& words, const char* text) {
  return words.find(text) != std::string::npos;
}

// A release that none of the sources has.
Cause judge_default_release(const Outlook_Question& question, const std::string& dump,
                            const std::string& evidence) {
  const std::string item = "APT::Default-Release";
  const APT_Settings settings(dump, *question.services.filesystem);
  const std::string value = settings.value(item).value_or("");
  return blocks("apt.configuration_broken",
                fmt::format("APT does nothing while {} is \"{}\", which no repository has", item, value),
                settings.evidence(item, value) + "; " + evidence,
                settings.without(settings.place_of(item, value), clearing(item)));
}

Cause judge_check(const std::string& command, const Answer& answer) {
  const std::string& words = answer.words;
  const std::string evidence = told(command, words);
  if (const std::string file = file_in(words); !file.empty()) {
    return blocks("apt.configuration_broken",
                  fmt::format("APT cannot read {}, and does nothing until it can", file), evidence,
                  remedy_for(file));
  }
  if (answer.exit_code == Exit_Code::TIME_LIMIT) {
    return tool_failed(command, answer);
  }
  if (has(words, "/var/lib/dpkg/status")) {
    return blocks("dpkg.status_broken",
                  "APT cannot read dpkg's list of packages, and does nothing until it can", evidence,
                  "cp /var/lib/dpkg/status-old /var/lib/dpkg/status");
  }
  if (has(words, "needs to be reinstalled")) {
    return blocks("dpkg.half_installed",
                  "a package is half installed, and APT does nothing until it is mended", evidence,
                  "Install that package again from its file, with \"dpkg --install\"");
  }
  if (has(words, "Unmet dependencies") || has(words, "unmet dependencies")) {
    return blocks(
        "dpkg.broken_dependencies",
        "dependencies of installed packages are missing, and APT upgrades nothing until they are there",
        evidence, "apt-get --fix-broken install --assume-yes");
  }
  if (has(words, "MMap ran out of room")) {
    return blocks("apt.check_failed", "APT may not use as much memory as its package lists need", evidence,
                  "Take APT::Cache-Limit out of APT's configuration, or raise it");
  }
  if (has(words, "/var/lib/apt/lists") || has(words, "package lists or status file")) {
    return blocks("apt.lists_broken", "APT cannot read its package lists, and does nothing until it can",
                  evidence, "rm -rf /var/lib/apt/lists/* && apt-get update");
  }
  return blocks("apt.check_failed",
                "APT finds something wrong, and its daily jobs do nothing until it is put right", evidence,
                "Run \"apt-get check\" and put right what it complains of");
}

}  // namespace

APT_Health find_apt_health(const Outlook_Question& question, const path& configuration) {
  APT_Health health;
  const auto dump = ask(question, DUMP);
  health.dump = dump.words;
  if (!dump.succeeded()) {
    health.can_work = false;
    const bool has_run = dump.exit_code != NO_SUCH_PROGRAM && dump.exit_code != Exit_Code::NOT_STARTED;
    health.causes.push_back(has_run ? judge_check(DUMP, dump) : tool_failed(DUMP, dump));
    return health;
  }
  const auto check = ask(question, fmt::format("apt-get -c {} check -qq", quoted(configuration.string())));
  if (!check.succeeded()) {
    health.can_work = false;
    health.causes.push_back(
        check.words.find("APT::Default-Release") != std::string::npos
            ? judge_default_release(question, dump.words, told("apt-get check", check.words))
            : judge_check("apt-get check", check));
  }
  return health;
}

}  // namespace zant::velmora_host::apt_outlook
