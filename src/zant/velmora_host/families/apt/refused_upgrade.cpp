#include <zant/velmora_host/families/apt/refused_upgrade.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/upgrade_exclusions.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;
using Json = nlohmann::json;
using velmora::Package_Constants::PACKAGE_NAME;

bool has(const std::string& words, const char* text) {
  return words.find(text) != std::string::npos;
}

bool are_explanation(const Causes& causes) {
  return std::any_of(causes.begin(), causes.end(), [](const Cause& cause) {
    return boost::algorithm::starts_with(cause.code, "package.") ||
           boost::algorithm::starts_with(cause.code, "origin") || cause.code == "hold.held" ||
           cause.code == "repository.not_automatic";
  });
}

Cause excluded_dependency(const APT_Settings& settings, const Json& excluded, const std::string& words,
                          const std::string& judged) {
  const std::string package = excluded.at("package").get<std::string>();
  const auto patterns = excluded.at("patterns").get<std::vector<std::string>>();
  const std::string message =
      fmt::format("version {} needs another version of {}, which must not change", judged, package);
  if (patterns.empty()) {
    return blocks("dependency.excluded", message, words, fmt::format("apt-mark unhold {}", quoted(package)));
  }
  return blocks("dependency.excluded", message, settings.evidence(BLACKLIST, patterns.front()),
                settings.without(settings.place_of(BLACKLIST, patterns.front()), clearing(BLACKLIST)));
}

std::string held_package_in(const Outlook_Question& question, const std::string& words) {
  const auto held = ask(question, "apt-mark showhold");
  for (const auto& name : lines_of(held.words)) {
    if (held.succeeded() && !name.empty() && words.find(name) != std::string::npos) {
      return name;
    }
  }
  return "";
}

Cause unmet_dependency(const Outlook_Question& question, const path& configuration, const std::string& words,
                       const std::string& judged) {
  const std::string command = fmt::format("apt-get -s install {}={}", PACKAGE_NAME, judged);
  const auto answer =
      ask(question, fmt::format("apt-get -c {} -o Dir::Bin::methods=/usr/lib/apt/methods -s install {}={}",
                                quoted(configuration.string()), PACKAGE_NAME, quoted(judged)));
  const std::string evidence = told("unattended-upgrade", words) + "\n" + told(command, answer.words);
  const auto held = held_package_in(question, answer.words);
  if (!held.empty()) {
    return blocks("dependency.held",
                  fmt::format("version {} needs another version of {}, which is held", judged, held),
                  evidence, fmt::format("apt-mark unhold {}", quoted(held)));
  }
  if (has(words, "marked to be deleted")) {
    return blocks("solver.removes",
                  fmt::format("version {} can only be installed when other packages are removed", judged),
                  evidence, fmt::format("apt-get install --assume-yes {}", PACKAGE_NAME));
  }
  if (has(words, "is not in an allowed origin")) {
    return blocks(
        "dependency.origin_not_allowed",
        fmt::format("version {} needs a package from a repository that unattended-upgrade may not use",
                    judged),
        evidence, fmt::format("apt-get install --assume-yes {}", PACKAGE_NAME));
  }
  return blocks("solver.unmet",
                fmt::format("version {} cannot be installed: what it needs is missing or conflicts", judged),
                evidence, "Provide what is missing, or ask the vendor for a version that can be installed");
}

}  // namespace

std::optional<Cause> find_refused_upgrade(const Outlook_Question& question, const path& configuration,
                                          const APT_Settings& settings, const Json& upgrade,
                                          const std::string& judged, const Causes& known) {
  if (upgrade.at("broken").get<int>() > 0) {
    return blocks("dpkg.broken_dependencies",
                  "dependencies of installed packages are missing, and nothing is upgraded until they are "
                  "there",
                  "unattended-upgrade: Cache has broken packages, exiting",
                  "apt-get --fix-broken install --assume-yes");
  }
  if (upgrade.at("upgrades").get<bool>() || are_explanation(known)) {
    return std::nullopt;
  }
  const std::string words = upgrade.value("words", "");
  if (has(words, "requires app-restart")) {
    return blocks("package.needs_restart",
                  fmt::format("version {} is not installed while its programs run", judged), words,
                  configuring("Unattended-Upgrade::IgnoreAppsRequireRestart", "true"));
  }
  if (has(words, "is not from a trusted origin")) {
    return blocks("repository.not_trusted", "the repository's signature is not trusted", words,
                  "package-minder once && apt-get update");
  }
  const Json excluded = upgrade.value("excluded", Json::object());
  if (excluded.contains("package")) {
    return excluded_dependency(settings, excluded, words, judged);
  }
  return unmet_dependency(question, configuration, words, judged);
}

}  // namespace zant::velmora_host::apt_outlook
