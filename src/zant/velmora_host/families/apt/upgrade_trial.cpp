#include <zant/velmora_host/families/apt/upgrade_trial.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/planned_configuration.hpp>
#include <zant/velmora_host/families/apt/preferred_version.hpp>
#include <zant/velmora_host/families/apt/refused_upgrade.hpp>
#include <zant/velmora_host/families/apt/upgrade_exclusions.hpp>
#include <zant/velmora_host/families/apt/upgrade_program.hpp>
#include <zant/velmora_host/families/apt/upgrade_stops.hpp>
#include <zant/velmora_host/settings/build_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>
#include <nlohmann/json.hpp>

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
      trial_.causes.push_back(missing_program(question_, program));
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
      trial_.causes.push_back(list_is_missing_(json.at("lack"), repo));
      return;
    }
    trial_.offered = json.value("newest", "");
    trial_.newer_is_offered = json.value("newer", false);
    trial_.is_downloaded = json.contains("downloaded");
    take_room_(json);
    const std::string judged = json.value("judged", "");
    if (json.contains("policy")) {
      append(trial_.causes, find_other_preference(question_, settings_, json));
    }
    if (!error.empty() && is_installed) {
      trial_.causes.push_back(failed_program(stage, error));
    }
    if (json.contains("days")) {
      auto stops = find_upgrade_stops(settings_, units_, json);
      trial_.next_run = stops.next_run;
      append(trial_.causes, std::move(stops.causes));
    }
    if (const std::string crash = json.value("crash", ""); !crash.empty()) {
      trial_.causes.push_back(explain_crash(settings_, json, crash));
    }
    if (json.contains("upgrade")) {
      judge_upgrade_(json, judged);
    }
    if (const std::string file = json.value("conffile_prompt", ""); !file.empty()) {
      trial_.causes.push_back(conffile_prompt(judged, file));
    }
  }

  void judge_upgrade_(const Json& json, const std::string& judged) {
    const Json& upgrade = json.at("upgrade");
    if (!upgrade.at("upgrades").get<bool>()) {
      append(trial_.causes, find_exclusions(question_, settings_, json));
    }
    auto refusal = find_refused_upgrade(question_, configuration_, settings_, upgrade, judged, trial_.causes);
    if (refusal) {
      trial_.causes.push_back(std::move(*refusal));
    }
  }

  static Cause not_registered_(const velmora::APT_Repo_Config& repo) {
    return blocks("repository.not_registered",
                  fmt::format("APT's sources do not have the repository {} {} main for {}",
                              repo.source_list.url, repo.source_list.channel, repo.source_list.architecture),
                  "apt-get indextargets: there is no such repository", "package-minder once");
  }

  // APT takes it for no failure that a repository does not have what the sources name.
  Cause list_is_missing_(const Json& lack, const velmora::APT_Repo_Config& repo) const {
    const auto what = lack.at(0).get<std::string>();
    const auto words = lack.at(1).get<std::string>();
    const std::string evidence = "APT has no list " + trial_.index +
                                 (words.empty() ? "" : fmt::format("; the repository says \"{}\"", words));
    if (what == "architecture") {
      return blocks("repository.architecture_missing",
                    fmt::format("the repository has nothing for {}", repo.source_list.architecture), evidence,
                    "Ask the vendor for packages for this architecture");
    }
    if (what == "component") {
      return blocks("repository.component_missing", "the repository has no such component", evidence,
                    "Ask the vendor for the component that the repository's source list names");
    }
    return obscures("repository.not_refreshed",
                    "APT has never had the repository's list of packages, or has lost it", evidence,
                    "apt-get -o APT::Update::Error-Mode=any update");
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
  const auto prompt = json.is_object() ? json.value("conffile_prompt", Json()) : Json();
  const std::string file = prompt.is_string() ? prompt.get<std::string>() : "";
  return file.empty() ? Causes{} : Causes{conffile_prompt(version, file)};
}

}  // namespace zant::velmora_host::apt_outlook
