#include <zant/velmora_host/families/apt/upgrade_trial.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/package_pins.hpp>
#include <zant/velmora_host/families/apt/planned_configuration.hpp>
#include <zant/velmora_host/settings/build_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;
using Json = nlohmann::json;
using std::chrono::hours;
using std::chrono::system_clock;
using velmora::Package_Constants::PACKAGE_NAME;
namespace APT_Constants = velmora::APT_Constants;

constexpr std::chrono::seconds LIMIT(9);
// Some shells name files that cannot be executed, too.
constexpr const char* PROGRAM_QUERY =
    "sh -c 'program=$(command -v unattended-upgrade) && test -x \"$program\" && echo \"$program\"'";
constexpr const char* USUAL_PROGRAM = "/usr/bin/unattended-upgrade";
constexpr const char* PROGRAM = "unattended-upgrade";
constexpr const char* BLACKLIST = "Unattended-Upgrade::Package-Blacklist";
constexpr const char* WHITELIST = "Unattended-Upgrade::Package-Whitelist";
constexpr const char* ORIGINS = "Unattended-Upgrade::Origins-Pattern";
constexpr int FOLLOWING_DAYS = 7;

std::string date_of(system_clock::time_point time) {
  const std::time_t value = system_clock::to_time_t(time);
  std::tm local{};
  localtime_r(&value, &local);
  return fmt::format("{:04}-{:02}-{:02}", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

Cause conffile_prompt(const std::string& version, const std::string& file) {
  return blocks(
      "package.conffile_prompt",
      fmt::format("version {} changes a file of configuration that was changed here too, and nobody is "
                  "there to answer the question",
                  version),
      fmt::format("unattended-upgrade's own test of {}", file),
      fmt::format("apt-get install --assume-yes -o DPkg::Options::=--force-confdef -o "
                  "DPkg::Options::=--force-confold {}",
                  PACKAGE_NAME));
}

// Another python3 that comes first in the path is not the one that unattended-upgrade runs with.
std::string asking(const Outlook_Question& question, const Json& request) {
  return fmt::format("{}/usr/bin/python3 -I -B {} {}", with_planned_configuration(question),
                     quoted(Build_Config::APT_QUESTIONS_FILE),
                     quoted(request.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

// Libraries of Python's may warn before the answer, which is the last line.
Json last_object_of(const Answer& answer) {
  const auto lines = lines_of(answer.words);
  const Json json = lines.empty() ? Json() : Json::parse(lines.back(), nullptr, false);
  return answer.succeeded() && json.is_object() ? json : Json();
}

// What is asked of the program that asks unattended-upgrade, and the words to judge its answer by.
class Trial {
 public:
  Trial(const Outlook_Question& question, path configuration, const APT_Settings& settings,
        const Upgrade_Units& units)
      : question_(question), configuration_(std::move(configuration)), settings_(settings), units_(units) {}

  Upgrade_Trial run(const Installed_Package& installed, const path& archives) {
    const auto program = ask(question_, PROGRAM_QUERY);
    if (!program.succeeded()) {
      trial_.causes.push_back(missing_program_(program));
    }
    const velmora::APT_Repo_Config repo(question_.services.system, question_.settings.configuration(),
                                        question_.settings.staging_directory(), question_.init);
    const Json request = {
        {"program", boost::algorithm::trim_copy(program.words)},
        {"package", PACKAGE_NAME},
        {"installed", installed.version},
        {"architecture", installed.architecture},
        {"url", repo.source_list.url},
        {"suite", repo.source_list.channel},
        {"component", "main"},
        {"configuration", configuration_.string()},
        {"private", question_.private_directory.string()},
        {"days", days_()},
        {"debs", Json::array({archives.string()})},
        {"planned", !question_.planned.empty()},
        {"origin", question_.settings.configuration().getString("package.apt.repo.origins_pattern",
                                                                APT_Constants::DEFAULT_ORIGINS_PATTERN)}};
    judge_(repo, ask(question_, asking(question_, request), LIMIT), program.succeeded());
    return std::move(trial_);
  }

 private:
  Cause missing_program_(const Answer& program) const {
    const std::string command = fmt::format("ls -l {}", USUAL_PROGRAM);
    const auto listed = ask(question_, command);
    if (listed.succeeded()) {
      return blocks("upgrades.broken", "unattended-upgrade cannot be executed", told(command, listed.words),
                    fmt::format("chmod 0755 {}", USUAL_PROGRAM));
    }
    return blocks("upgrades.not_installed",
                  "unattended-upgrades is not installed, so nothing installs newer versions",
                  told("command -v unattended-upgrade", program.words),
                  "apt-get install --reinstall --assume-yes unattended-upgrades");
  }

  Json days_() const {
    Json days = Json::array({date_of(question_.now)});
    const auto first = units_.next_run.value_or(question_.now);
    for (int day = 0; day <= FOLLOWING_DAYS; ++day) {
      days.push_back(date_of(first + hours(24 * day)));
    }
    return days;
  }

  void judge_(const velmora::APT_Repo_Config& repo, const Answer& answer, bool is_installed) {
    const Json json = last_object_of(answer);
    if (!json.is_object()) {
      trial_.causes.push_back(
          tool_failed("python3 " + std::string(Build_Config::APT_QUESTIONS_FILE), answer));
      return;
    }
    try {
      take_(repo, json, is_installed);
    } catch (const Json::exception& error) {
      trial_.causes.push_back(tool_failed("python3 " + std::string(Build_Config::APT_QUESTIONS_FILE),
                                          {error.what() + (" " + answer.words), answer.exit_code}));
    }
  }

  void take_(const velmora::APT_Repo_Config& repo, const Json& json, bool is_installed) {
    const std::string stage = json.value("stage", "");
    const std::string error = json.value("error", "");
    trial_.index = json.value("index", "");
    if (trial_.index.empty() && error.empty()) {
      trial_.causes.push_back(not_registered_(repo));
      return;
    }
    if (json.contains("lack")) {
      trial_.causes.push_back(list_is_missing_(json.at("lack").get<std::vector<std::string>>(), repo));
      return;
    }
    trial_.offered = json.value("newest", "");
    trial_.newer_is_offered = json.value("newer", false);
    trial_.is_downloaded = json.contains("downloaded");
    take_room_(json);
    const std::string judged = json.value("judged", "");
    if (json.contains("policy")) {
      judge_policy_(json.at("policy"), json, judged);
    }
    if (!error.empty() && is_installed) {
      trial_.causes.push_back(failure_(stage, error));
    }
    if (json.contains("days")) {
      judge_days_(json.at("days").get<std::vector<bool>>());
      judge_stops_(json);
    }
    if (const std::string crash = json.value("crash", ""); !crash.empty()) {
      judge_crash_(json, crash);
    }
    if (json.contains("upgrade")) {
      judge_exclusions_(json);
      judge_upgrade_(json.at("upgrade"), judged);
    }
    if (const std::string file = json.value("conffile_prompt", ""); !file.empty()) {
      trial_.causes.push_back(conffile_prompt(judged, file));
    }
  }

  static Cause not_registered_(const velmora::APT_Repo_Config& repo) {
    return blocks("repository.not_registered",
                  fmt::format("APT's sources do not have the repository {} {} main for {}",
                              repo.source_list.url, repo.source_list.channel, repo.source_list.architecture),
                  "apt-get indextargets: there is no such repository", "package-minder once");
  }

  // APT takes it for no failure that a repository does not have what the sources name.
  Cause list_is_missing_(const std::vector<std::string>& lack, const velmora::APT_Repo_Config& repo) const {
    const std::string evidence =
        "APT has no list " + trial_.index +
        (lack.at(1).empty() ? "" : fmt::format("; the repository says \"{}\"", lack.at(1)));
    if (lack.at(0) == "architecture") {
      return blocks("repository.architecture_missing",
                    fmt::format("the repository has nothing for {}", repo.source_list.architecture), evidence,
                    "Ask the vendor for packages for this architecture");
    }
    if (lack.at(0) == "component") {
      return blocks("repository.component_missing", "the repository has no such component", evidence,
                    "Ask the vendor for the component that the repository's source list names");
    }
    return obscures("repository.not_refreshed",
                    "APT has never had the repository's list of packages, or has lost it", evidence,
                    "apt-get -o APT::Update::Error-Mode=any update");
  }

  static Cause failure_(const std::string& stage, const std::string& error) {
    if (stage == "foreign") {
      return obscures("upgrades.replaced", "unattended-upgrade is another program than the distribution's",
                      error, "Take that program away, or see for yourself what it does");
    }
    // It begins with the same modules as what asks it.
    if (stage == "start" || stage == "load") {
      return blocks("upgrades.broken", "unattended-upgrade itself cannot start", error,
                    "apt-get install --reinstall --assume-yes unattended-upgrades python3-apt "
                    "python3-distro-info");
    }
    return obscures("tools.failed", "what unattended-upgrade would do cannot be found out", error,
                    "Run \"unattended-upgrade --dry-run --debug\" and see what it says");
  }

  void take_room_(const Json& json) {
    const auto number = [&json](const char* name) -> std::uint64_t {
      const std::string text = json.value(name, "");
      const bool is_number =
          !text.empty() && text.size() <= 15 && text.find_first_not_of("0123456789") == std::string::npos;
      return is_number ? std::stoull(text) : 0;
    };
    trial_.room.download = trial_.is_downloaded ? 0 : number("Size");
    trial_.room.installed = number("Installed-Size") * 1024;
    trial_.room.archives = json.value("archives", trial_.room.archives);
  }

  void judge_policy_(const Json& policy, const Json& json, const std::string& judged) {
    if (policy.at("is_held").get<bool>()) {
      trial_.causes.push_back(blocks("hold.held", fmt::format("{} is held", PACKAGE_NAME),
                                     fmt::format("apt-mark showhold: {}", PACKAGE_NAME),
                                     fmt::format("apt-mark unhold {}", PACKAGE_NAME)));
    }
    const std::string candidate = policy.at("candidate").get<std::string>();
    if (candidate == judged || policy.at("is_foreign").get<bool>()) {
      return;
    }
    const auto files = policy.at("pinned_by").get<std::vector<std::string>>();
    const auto named =
        std::find_if(files.begin(), files.end(), [](const auto& file) { return !file.empty(); });
    const std::string message =
        fmt::format("APT prefers {} to version {} of {}",
                    candidate.empty() ? "no version" : "version " + candidate, judged, PACKAGE_NAME);
    const std::string priority = fmt::format("its priority is {}", policy.at("priority").get<int>());
    if (named != files.end()) {
      trial_.causes.push_back(pinned_(*named, message, priority));
    } else if (!files.empty()) {
      const std::string release = settings_.value("APT::Default-Release").value_or("");
      trial_.causes.push_back(blocks(
          "package.pinned", message, settings_.evidence("APT::Default-Release", release) + "; " + priority,
          settings_.without(settings_.place_of("APT::Default-Release", release), preferring_package())));
    } else if (policy.at("is_phased").get<bool>()) {
      const std::string share = json.value("Phased-Update-Percentage", "");
      trial_.causes.push_back(blocks(
          "package.phased",
          fmt::format("version {} is given to {} percent of all hosts so far, and not to this one", judged,
                      share),
          fmt::format("Phased-Update-Percentage: {}; {}", share, priority),
          "echo 'APT::Get::Always-Include-Phased-Updates \"true\";' > /etc/apt/apt.conf.d/zzz-zant-velmora"));
    } else if (policy.at("not_automatic").get<bool>()) {
      trial_.causes.push_back(
          blocks("repository.not_automatic",
                 "the repository says of itself that nothing is upgraded from it automatically",
                 "NotAutomatic: yes in its Release; " + priority, preferring_package()));
    } else {
      trial_.causes.push_back(blocks("package.not_preferred", message, priority, preferring_package()));
    }
  }

  Cause pinned_(const std::string& file, const std::string& message, const std::string& priority) const {
    const auto text = question_.services.filesystem->read_file(file, velmora::Read_Flag::WHOLE_TEXT);
    const auto pin = find_pin(text, PACKAGE_NAME);
    const std::string evidence = pin ? fmt::format("{}:{}: {}", file, pin->first_line, pin->text) : file;
    std::string remedy = "package-minder once";
    if (!is_kept_by_library(file)) {
      remedy = pin ? fmt::format("sed -i '{},{}d' {}", pin->first_line, pin->last_line, quoted(file))
                   : fmt::format("mv {} {}", quoted(file), quoted(file + ".disabled"));
    }
    return blocks("package.pinned", message, evidence + "; " + priority, remedy);
  }

  // The first answer is about today, the second about the next run.
  void judge_days_(const std::vector<bool>& days) {
    const auto first = std::find(days.begin() + 1, days.end(), true);
    const bool is_allowed = days.at(0) || days.at(1);
    const std::string item = "Unattended-Upgrade::Update-Days";
    if (first != days.end() && first != days.begin() + 1 && units_.next_run) {
      trial_.next_run = *units_.next_run + hours(24 * (first - days.begin() - 1));
    }
    if (is_allowed) {
      return;
    }
    const std::string value = settings_.value(item + "::").value_or("");
    trial_.causes.push_back(
        blocks("upgrades.not_today",
               first == days.end()
                   ? "on no day of the week is anything upgraded unattended"
                   : fmt::format("the next run upgrades nothing: its day is none of those that are allowed"),
               settings_.evidence(item, value),
               settings_.without(settings_.place_of(item, value), clearing_(item))));
  }

  static std::string clearing_(const std::string& item) {
    return fmt::format("echo '#clear {};' > /etc/apt/apt.conf.d/zzz-zant-velmora", item);
  }

  void judge_stops_(const Json& json) {
    const std::string stop = json.value("stop", "");
    if (stop.find("battery") != std::string::npos) {
      trial_.causes.push_back(blocks("power.on_battery",
                                     "unattended-upgrade stops while the host is on battery", stop,
                                     "Connect the host to mains power"));
    } else if (stop.find("metered") != std::string::npos) {
      trial_.causes.push_back(
          blocks("network.metered", "unattended-upgrade stops while the host's connection is metered", stop,
                 "echo 'Unattended-Upgrade::Skip-Updates-On-Metered-Connections \"false\";' > "
                 "/etc/apt/apt.conf.d/zzz-zant-velmora"));
    } else if (!stop.empty()) {
      trial_.causes.push_back(failure_("ask", stop));
    }
    if (json.value("on_shutdown", false)) {
      const std::string item = "Unattended-Upgrade::InstallOnShutdown";
      const std::string value = settings_.value(item).value_or("");
      trial_.causes.push_back(
          blocks("upgrades.on_shutdown_only", "upgrades are only installed when the host shuts down",
                 settings_.evidence(item, value),
                 settings_.without(
                     settings_.place_of(item, value),
                     fmt::format("echo '{} \"false\";' > /etc/apt/apt.conf.d/zzz-zant-velmora", item))));
    }
  }

  // Which entry matters depends on which is looked at first: so only an end of the whole is taken for a
  // fault.
  void judge_crash_(const Json& json, const std::string& crash) {
    const Json& lists = json.at("lists");
    if (const std::string error = lists.value("error", ""); !error.empty()) {
      const char* const item = boost::algorithm::starts_with(error, BLACKLIST) ? BLACKLIST : WHITELIST;
      const auto place = settings_.place_of(item, lists.value("unreadable", ""));
      trial_.causes.push_back(
          blocks("patterns.unreadable", "unattended-upgrade cannot read a pattern of packages, and fails",
                 (place ? place->evidence() + "; " : "") + error, settings_.without(place, clearing_(item))));
    } else if (const auto place = place_of_bad_origin_()) {
      trial_.causes.push_back(
          blocks("origins.unreadable",
                 "unattended-upgrade cannot read the origins that it may upgrade from, and fails",
                 place->evidence() + "; " + crash,
                 settings_.without(place, clearing_(ORIGINS) + " && package-minder once")));
    } else {
      trial_.causes.push_back(failure_("ask", crash));
    }
  }

  void judge_exclusions_(const Json& json) {
    if (!json.at("upgrade").at("upgrades").get<bool>()) {
      judge_origins_(json.at("origins"));
      judge_lists_(json.at("lists"));
    }
  }

  void judge_origins_(const Json& origins) {
    if (!origins.value("error", "").empty() || origins.at("is_allowed").get<bool>()) {
      return;
    }
    const auto described = origins.at("origins").get<std::vector<std::string>>();
    const auto allowed = origins.at("allowed").get<std::vector<std::string>>();
    trial_.causes.push_back(blocks(
        "origin.not_allowed", "the repository is none of those that unattended-upgrade may upgrade from",
        fmt::format("the repository: {}; allowed: {}", boost::algorithm::join(described, " "),
                    boost::algorithm::join(allowed, " | ")),
        remedy_for_origin_(described, allowed)));
  }

  // The same that the program finds: exactly one "=" in each part, and a known word before it.
  std::optional<Place> place_of_bad_origin_() const {
    for (const auto& value : settings_.values(std::string(ORIGINS) + "::")) {
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
        return settings_.place_of(ORIGINS, value);
      }
    }
    return std::nullopt;
  }

  std::string remedy_for_origin_(const std::vector<std::string>& described,
                                 const std::vector<std::string>& allowed) const {
    const auto clearing = settings_.place_of_clearing(ORIGINS);
    const std::string configured = question_.settings.configuration().getString(
        "package.apt.repo.origins_pattern", APT_Constants::DEFAULT_ORIGINS_PATTERN);
    const bool is_in_force = std::any_of(
        allowed.begin(), allowed.end(),
        [&configured](const std::string& origin) { return configured.find(origin) != std::string::npos; });
    if (!is_in_force) {
      return settings_.without(clearing, "package-minder once");
    }
    const std::string first = described.empty() ? "" : described.front();
    const std::string origin = first.substr(0, first.find(','));
    const std::string line = fmt::format("{} {{\"{}\";}};", ORIGINS, origin);
    return fmt::format("echo {} > /etc/apt/apt.conf.d/zzz-zant-velmora", quoted(line));
  }

  void judge_lists_(const Json& lists) {
    if (!lists.value("error", "").empty()) {
      return;
    }
    for (const auto& pattern : lists.at("blacklisted_by").get<std::vector<std::string>>()) {
      trial_.causes.push_back(
          blocks("package.blacklisted", fmt::format("{} is excluded from unattended upgrades", PACKAGE_NAME),
                 settings_.evidence(BLACKLIST, pattern),
                 settings_.without(settings_.place_of(BLACKLIST, pattern), clearing_(BLACKLIST))));
    }
    if (!lists.at("is_whitelisted").get<bool>()) {
      const auto listed = lists.at("whitelist").get<std::vector<std::string>>();
      const std::string first = listed.empty() ? "" : listed.front();
      trial_.causes.push_back(blocks(
          "package.not_whitelisted",
          fmt::format("only listed packages are upgraded unattended, and {} is none of them", PACKAGE_NAME),
          settings_.evidence(WHITELIST, first),
          fmt::format("echo '{} {{\"^{}$\";}};' > /etc/apt/apt.conf.d/zzz-zant-velmora", WHITELIST,
                      PACKAGE_NAME)));
    }
  }

  bool is_explained_() const {
    return std::any_of(trial_.causes.begin(), trial_.causes.end(), [](const Cause& cause) {
      return boost::algorithm::starts_with(cause.code, "package.") ||
             boost::algorithm::starts_with(cause.code, "origin") || cause.code == "hold.held" ||
             cause.code == "repository.not_automatic";
    });
  }

  void judge_upgrade_(const Json& upgrade, const std::string& judged) {
    if (upgrade.at("broken").get<int>() > 0) {
      trial_.causes.push_back(
          blocks("dpkg.broken_dependencies",
                 "dependencies of installed packages are missing, and nothing is upgraded until "
                 "they are there",
                 "unattended-upgrade: Cache has broken packages, exiting",
                 "apt-get --fix-broken install --assume-yes"));
      return;
    }
    if (upgrade.at("upgrades").get<bool>() || is_explained_()) {
      return;
    }
    const std::string words = upgrade.value("words", "");
    const auto says = [&words](const char* text) { return words.find(text) != std::string::npos; };
    const Json excluded = upgrade.value("excluded", Json::object());
    if (says("requires app-restart")) {
      trial_.causes.push_back(
          blocks("package.needs_restart",
                 fmt::format("version {} is not installed while its programs run", judged), words,
                 "echo 'Unattended-Upgrade::IgnoreAppsRequireRestart \"true\";' > "
                 "/etc/apt/apt.conf.d/zzz-zant-velmora"));
    } else if (says("is not from a trusted origin")) {
      trial_.causes.push_back(blocks("repository.not_trusted", "the repository's signature is not trusted",
                                     words, "package-minder once && apt-get update"));
    } else if (excluded.contains("package")) {
      trial_.causes.push_back(excluded_(excluded, words, judged));
    } else {
      trial_.causes.push_back(
          unmet_(words, judged, says("marked to be deleted"), says("is not in an allowed origin")));
    }
  }

  Cause excluded_(const Json& excluded, const std::string& words, const std::string& judged) const {
    const std::string package = excluded.at("package").get<std::string>();
    const auto patterns = excluded.at("patterns").get<std::vector<std::string>>();
    const std::string message =
        fmt::format("version {} needs another version of {}, which must not change", judged, package);
    if (patterns.empty()) {
      return blocks("dependency.excluded", message, words,
                    fmt::format("apt-mark unhold {}", quoted(package)));
    }
    return blocks("dependency.excluded", message, settings_.evidence(BLACKLIST, patterns.front()),
                  settings_.without(settings_.place_of(BLACKLIST, patterns.front()), clearing_(BLACKLIST)));
  }

  Cause unmet_(const std::string& words, const std::string& judged, bool removes, bool is_foreign) const {
    const std::string command = fmt::format("apt-get -s install {}={}", PACKAGE_NAME, judged);
    const auto answer =
        ask(question_, fmt::format("apt-get -c {} -o Dir::Bin::methods=/usr/lib/apt/methods -s install {}={}",
                                   quoted(configuration_.string()), PACKAGE_NAME, quoted(judged)));
    const std::string evidence = told("unattended-upgrade", words) + "\n" + told(command, answer.words);
    const auto held = held_in_(answer.words);
    if (!held.empty()) {
      return blocks("dependency.held",
                    fmt::format("version {} needs another version of {}, which is held", judged, held),
                    evidence, fmt::format("apt-mark unhold {}", quoted(held)));
    }
    if (removes) {
      return blocks("solver.removes",
                    fmt::format("version {} can only be installed when other packages are removed", judged),
                    evidence, fmt::format("apt-get install --assume-yes {}", PACKAGE_NAME));
    }
    if (is_foreign) {
      return blocks(
          "dependency.origin_not_allowed",
          fmt::format("version {} needs a package from a repository that unattended-upgrade may not use",
                      judged),
          evidence, fmt::format("apt-get install --assume-yes {}", PACKAGE_NAME));
    }
    return blocks(
        "solver.unmet",
        fmt::format("version {} cannot be installed: what it needs is missing or conflicts", judged),
        evidence, "Provide what is missing, or ask the vendor for a version that can be installed");
  }

  std::string held_in_(const std::string& words) const {
    const auto held = ask(question_, "apt-mark showhold");
    for (const auto& name : lines_of(held.words)) {
      if (held.succeeded() && !name.empty() && words.find(name) != std::string::npos) {
        return name;
      }
    }
    return "";
  }

  const Outlook_Question& question_;
  path configuration_;
  const APT_Settings& settings_;
  const Upgrade_Units& units_;
  Upgrade_Trial trial_;
};

}  // namespace

Upgrade_Trial try_upgrade(const Outlook_Question& question, const path& configuration,
                          const APT_Settings& settings, const Installed_Package& installed,
                          const Upgrade_Units& units, const path& archives) {
  return Trial(question, configuration, settings, units).run(installed, archives);
}

Causes find_conffile_prompt(const Outlook_Question& question, const path& configuration,
                            const std::string& version, const path& archives) {
  const Json request = {{"program", "/usr/bin/unattended-upgrade"},
                        {"package", PACKAGE_NAME},
                        {"version", version},
                        {"configuration", configuration.string()},
                        {"debs", Json::array({archives.string()})}};
  const Json json = last_object_of(ask(question, asking(question, request)));
  const std::string file = json.is_object() ? json.value("conffile_prompt", "") : "";
  return file.empty() ? Causes{} : Causes{conffile_prompt(version, file)};
}

}  // namespace zant::velmora_host::apt_outlook
