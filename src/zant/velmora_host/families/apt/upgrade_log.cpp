#include <zant/velmora_host/families/apt/upgrade_log.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;

// Each with the name that older versions gave it, which is in force where the first one is not set.
const std::vector<std::string> DIRECTORY_ITEMS = {"Unattended-Upgrade::LogDir",
                                                  "APT::UnattendedUpgrades::LogDir"};
const std::vector<std::string> FILE_ITEMS = {"Unattended-Upgrade::LogFile",
                                             "APT::UnattendedUpgrades::LogFile"};

struct Item {
  std::string name;
  std::string value;
};

std::optional<Item> set_item(const APT_Settings& settings, const std::vector<std::string>& names) {
  for (const auto& name : names) {
    if (const auto value = settings.value(name); value && !value->empty()) {
      return Item{name, *value};
    }
  }
  return std::nullopt;
}

// Prints what stands in the way and fails.
std::string query_for(const Upgrade_Log& log) {
  const std::string script = fmt::format(
      "directory={}; "
      "until test -e \"$directory\" || test -L \"$directory\"; do directory=$(dirname \"$directory\"); done; "
      "test -d \"$directory\" || {{ echo \"$directory\"; exit 1; }}; "
      "for file in {} {}; do test ! -d \"$file\" || {{ echo \"$file\"; exit 1; }}; done",
      quoted(log.directory.string()), quoted(log.file.string()), quoted(log.dpkg_file.string()));
  const std::string own_place =
      log.file.parent_path() == log.directory
          ? ""
          : fmt::format("; test -d {0} || {{ echo {0}; exit 1; }}", quoted(log.file.parent_path().string()));
  return fmt::format("sh -c {}", quoted(script + own_place));
}

Cause unusable(const std::string& obstacle, const std::string& evidence, const std::string& remedy) {
  return blocks(
      "upgrades.broken",
      fmt::format("unattended-upgrade cannot open its log because of {}, and ends at once", obstacle),
      evidence, remedy);
}

}  // namespace

Upgrade_Log upgrade_log_of(const APT_Settings& settings) {
  Upgrade_Log log;
  if (const auto directory = set_item(settings, DIRECTORY_ITEMS)) {
    log.directory = directory_named(directory->value);
  }
  const auto file = set_item(settings, FILE_ITEMS);
  log.file = log.directory / (file ? path(file->value) : Upgrade_Log().file.filename());
  if (file && path(file->value).is_absolute()) {
    log.file = file->value;
  }
  log.dpkg_file = log.directory / Upgrade_Log().dpkg_file.filename();
  return log;
}

Causes find_unusable_log(const Outlook_Question& question, const APT_Settings& settings) {
  const auto log = upgrade_log_of(settings);
  const auto answer = ask(question, query_for(log));
  const std::string obstacle = boost::algorithm::trim_copy(answer.words);
  if (answer.exit_code != 1 || obstacle.empty()) {
    return {};
  }
  for (const auto* const items : {&FILE_ITEMS, &DIRECTORY_ITEMS}) {
    if (const auto item = set_item(settings, *items)) {
      return {unusable(obstacle, settings.evidence(item->name, item->value),
                       settings.without(settings.place_of(item->name, item->value),
                                        fmt::format("Correct {} in APT's configuration", item->name)))};
    }
  }
  const std::string listing = fmt::format("ls -ld {}", quoted(obstacle));
  return {unusable(obstacle, told(listing, ask(question, listing).words),
                   fmt::format("mv {0} {0}.old", quoted(obstacle)))};
}

}  // namespace zant::velmora_host::apt_outlook
