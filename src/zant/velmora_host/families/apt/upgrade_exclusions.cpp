#include <zant/velmora_host/families/apt/upgrade_exclusions.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/upgrade_program.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using Json = nlohmann::json;
using velmora::Package_Constants::PACKAGE_NAME;
namespace APT_Constants = velmora::APT_Constants;

constexpr const char* WHITELIST = "Unattended-Upgrade::Package-Whitelist";
constexpr const char* ORIGINS = "Unattended-Upgrade::Origins-Pattern";

// The same that the program finds: exactly one "=" in each part, and a known word before it.
std::optional<Place> place_of_bad_origin(const APT_Settings& settings) {
  for (const auto& value : settings.values(std::string(ORIGINS) + "::")) {
    static const std::vector<std::string> words = {
        "o", "origin", "l", "label", "a", "suite", "archive", "c", "component", "site", "n", "codename"};
    std::string part;
    bool is_good = true;
    for (const char c : value + ",") {
      if (c != ',') {
        part += c;
        continue;
      }
      const auto separator = part.find('=');
      is_good =
          is_good && separator != std::string::npos && part.find('=', separator + 1) == std::string::npos &&
          std::find(words.begin(), words.end(), boost::algorithm::trim_copy(part.substr(0, separator))) !=
              words.end();
      part.clear();
    }
    if (!is_good) {
      return settings.place_of(ORIGINS, value);
    }
  }
  return std::nullopt;
}

std::string remedy_for_origin(const Outlook_Question& question, const APT_Settings& settings,
                              const std::vector<std::string>& described,
                              const std::vector<std::string>& allowed) {
  const auto clearing = settings.place_of_clearing(ORIGINS);
  const std::string configured = question.settings.configuration().getString(
      "package.apt.repo.origins_pattern", APT_Constants::DEFAULT_ORIGINS_PATTERN);
  const bool is_in_force = std::any_of(
      allowed.begin(), allowed.end(),
      [&configured](const std::string& origin) { return configured.find(origin) != std::string::npos; });
  if (!is_in_force) {
    return settings.without(clearing, "package-minder once");
  }
  const std::string first = described.empty() ? "" : described.front();
  const std::string origin = first.substr(0, first.find(','));
  return configuring_origin(origin).value_or(
      fmt::format("Allow the repository's origin in {} of APT's configuration", ORIGINS));
}

void judge_origins(const Outlook_Question& question, const APT_Settings& settings, const Json& origins,
                   Causes& causes) {
  if (!origins.value("error", "").empty() || origins.at("is_allowed").get<bool>()) {
    return;
  }
  const auto described = origins.at("origins").get<std::vector<std::string>>();
  const auto allowed = origins.at("allowed").get<std::vector<std::string>>();
  causes.push_back(
      blocks("origin.not_allowed", "the repository is none of those that unattended-upgrade may upgrade from",
             fmt::format("the repository: {}; allowed: {}", boost::algorithm::join(described, " "),
                         boost::algorithm::join(allowed, " | ")),
             remedy_for_origin(question, settings, described, allowed)));
}

void judge_lists(const APT_Settings& settings, const Json& lists, Causes& causes) {
  if (!lists.value("error", "").empty()) {
    return;
  }
  for (const auto& pattern : lists.at("blacklisted_by").get<std::vector<std::string>>()) {
    causes.push_back(blocks("package.blacklisted",
                            fmt::format("{} is excluded from unattended upgrades", PACKAGE_NAME),
                            settings.evidence(BLACKLIST, pattern),
                            settings.without(settings.place_of(BLACKLIST, pattern), clearing(BLACKLIST))));
  }
  if (!lists.at("is_whitelisted").get<bool>()) {
    const auto listed = lists.at("whitelist").get<std::vector<std::string>>();
    const std::string first = listed.empty() ? "" : listed.front();
    causes.push_back(blocks(
        "package.not_whitelisted",
        fmt::format("only listed packages are upgraded unattended, and {} is none of them", PACKAGE_NAME),
        settings.evidence(WHITELIST, first),
        configuring(fmt::format("{} {{\"^{}$\";}};", WHITELIST, PACKAGE_NAME))));
  }
}

}  // namespace

Causes find_exclusions(const Outlook_Question& question, const APT_Settings& settings, const Json& answer) {
  Causes causes;
  judge_origins(question, settings, answer.at("origins"), causes);
  judge_lists(settings, answer.at("lists"), causes);
  return causes;
}

// Which entry matters depends on which is looked at first: so only an end of the whole is taken for a
// fault.
Cause explain_crash(const APT_Settings& settings, const Json& answer, const std::string& crash) {
  const Json& lists = answer.at("lists");
  if (const std::string error = lists.value("error", ""); !error.empty()) {
    const char* const item = boost::algorithm::starts_with(error, BLACKLIST) ? BLACKLIST : WHITELIST;
    const auto place = settings.place_of(item, lists.value("unreadable", ""));
    return blocks("patterns.unreadable", "unattended-upgrade cannot read a pattern of packages, and fails",
                  (place ? place->evidence() + "; " : "") + error, settings.without(place, clearing(item)));
  }
  if (const auto place = place_of_bad_origin(settings)) {
    return blocks("origins.unreadable",
                  "unattended-upgrade cannot read the origins that it may upgrade from, and fails",
                  place->evidence() + "; " + crash,
                  settings.without(place, clearing(ORIGINS) + " && package-minder once"));
  }
  return failed_program("ask", crash);
}

}  // namespace zant::velmora_host::apt_outlook
