#include <zant/velmora_host/families/dnf/obstacle_causes.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/dnf/repository_answer.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zant::velmora_host::dnf_outlook {
namespace {

using velmora::Package_Constants::PACKAGE_NAME;
namespace DNF_Constants = velmora::DNF_Constants;

constexpr std::size_t LONGEST_SEARCHED = 1500;

// As the preview has it; what a kind of obstacle does not have is empty.
struct Obstacle {
  explicit Obstacle(const nlohmann::json& json)
      : kind(json.at("kind").get<std::string>()),
        file(json.value("file", "")),
        line(json.value("line", 0)),
        text(json.value("text", "")),
        words(json.value("words", "")),
        word(json.value("word", "")),
        version(json.value("version", "")),
        address(json.value("address", "")),
        by(json.value("by", "")),
        other(json.value("other", "")),
        directory(json.value("directory", "")),
        priority(json.value("priority", 0)),
        own_priority(json.value("own", 0)),
        free_bytes(json.value("free", 0LL)),
        needed_bytes(json.value("needed", 0LL)),
        has_unknown_repositories(json.contains("unknown") && !json.at("unknown").empty()) {}

  bool has_place() const { return !file.empty() && line > 0; }

  std::string place() const { return has_place() ? fmt::format("{}:{}: {}", file, line, text) : words; }

  std::string kind;
  std::string file;
  int line;
  std::string text;
  std::string words;
  std::string word;
  std::string version;
  std::string address;
  std::string by;
  std::string other;
  std::string directory;
  int priority;
  int own_priority;
  long long free_bytes;
  long long needed_bytes;
  bool has_unknown_repositories;
};

Cause blocks(const char* code, std::string message, std::string evidence, std::string remedy) {
  return {Cause_Effect::BLOCKS, code, std::move(message), std::move(evidence), std::move(remedy)};
}

Cause obscures(const char* code, std::string message, std::string evidence, std::string remedy) {
  return {Cause_Effect::OBSCURES, code, std::move(message), std::move(evidence), std::move(remedy)};
}

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char character : text) {
    result += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return result + "'";
}

// Names come from repositories.
std::string as_word(const std::string& text) {
  const bool is_plain = std::all_of(text.begin(), text.end(), [](const char character) {
    return boost::algorithm::is_alnum()(character) ||
           std::string_view("._+-:").find(character) != std::string_view::npos;
  });
  return is_plain ? text : quoted(text);
}

std::string import_of(const std::string& addresses) {
  std::vector<std::string> words;
  boost::algorithm::split(words, addresses, boost::algorithm::is_space());
  std::string command = "rpm --import";
  for (const std::string& address : words) {
    command += " " + quoted(address);
  }
  return command;
}

// A change of one line of a file.
std::string edit(const Obstacle& obstacle, const std::string& change, const std::string& instead) {
  return obstacle.has_place()
             ? fmt::format("sed -i -E {} {}", quoted(fmt::format("{}{}", obstacle.line, change)),
                           quoted(obstacle.file))
             : instead;
}

std::string as_pattern(const std::string& word) {
  std::string pattern;
  for (const char character : word) {
    if (std::string_view("\\^$.|?*+()[]{}/").find(character) != std::string_view::npos) {
      pattern += '\\';
    }
    pattern += character;
  }
  return pattern;
}

std::string without_word(const Obstacle& obstacle, const char* option) {
  return edit(obstacle, fmt::format("s/(^|[ \\t,=]){}([ \\t,]|$)/\\1\\2/", as_pattern(obstacle.word)),
              fmt::format("Remove {} from {} in DNF's configuration", obstacle.word, option));
}

std::string with_value(const Obstacle& obstacle, const std::string& value, const std::string& instead) {
  return edit(obstacle, fmt::format("s/=.*/={}/", value), instead);
}

std::string set_option(const std::string& repository, const std::string& option, const std::string& value) {
  return fmt::format("dnf config-manager --save --setopt={}.{}={}", as_word(repository), option,
                     as_word(value));
}

std::string set_vendor_option(const std::string& option, const std::string& value) {
  return set_option(DNF_Constants::DNF_REPO_ID, option, value);
}

bool is_in_own_file(const Obstacle& obstacle) {
  return obstacle.file == DNF_Constants::REPO_FILE_PATH;
}

Cause excluded(const Obstacle& obstacle) {
  if (is_in_own_file(obstacle) && boost::algorithm::starts_with(obstacle.text, "exclude") &&
      !boost::algorithm::starts_with(obstacle.text, "excludepkgs") && obstacle.word == "*") {
    return blocks("hold.held", fmt::format("{} is held: its repository excludes every package", PACKAGE_NAME),
                  obstacle.place(), "package-minder release");
  }
  return blocks("package.excluded",
                fmt::format("DNF is told to leave out {} {}", PACKAGE_NAME, obstacle.version),
                obstacle.place(), without_word(obstacle, "excludepkgs"));
}

Cause not_included(const Obstacle& obstacle) {
  return blocks("package.not_included",
                fmt::format("DNF is told to take certain packages only, and {} {} is none of them",
                            PACKAGE_NAME, obstacle.version),
                obstacle.place(),
                edit(obstacle, fmt::format("s/$/ {}/", PACKAGE_NAME),
                     fmt::format("Add {} to includepkgs in DNF's configuration", PACKAGE_NAME)));
}

Cause version_locked(const Obstacle& obstacle) {
  return blocks("package.version_locked",
                fmt::format("A version lock keeps {} {} out", PACKAGE_NAME, obstacle.version),
                obstacle.place(), edit(obstacle, "d", "dnf versionlock delete zant-velmora"));
}

Cause hidden(const Obstacle& obstacle) {
  return blocks(
      "package.hidden",
      fmt::format("DNF, or one of its plugins, hides {} {}", PACKAGE_NAME, obstacle.version),
      "dnf --cacheonly repoquery --disableexcludes=all lists it, and dnf --cacheonly repoquery does not",
      "Find the plugin in /etc/dnf/plugins that hides the package, and switch it off");
}

Cause in_module(const Obstacle& obstacle) {
  return blocks("package.in_module",
                fmt::format("A module hides {}: DNF takes it from that module only", PACKAGE_NAME),
                fmt::format("dnf module list --enabled: {}", obstacle.words),
                set_vendor_option("module_hotfixes", "1"));
}

Cause obsoleted(const Obstacle& obstacle) {
  return blocks("package.obsoleted", fmt::format("{} takes the place of {}", obstacle.words, PACKAGE_NAME),
                fmt::format("dnf --cacheonly repoquery --obsoletes {}", obstacle.words),
                set_option(obstacle.other, "excludepkgs", obstacle.by));
}

Cause outranked(const Obstacle& obstacle) {
  return blocks(
      "repository.outranked",
      fmt::format("The repository {} has {} too, and DNF prefers it: its priority is {}, that of {} is {}",
                  obstacle.by, obstacle.words, obstacle.priority, DNF_Constants::DNF_REPO_ID,
                  obstacle.own_priority),
      obstacle.place(), set_vendor_option("priority", std::to_string(obstacle.priority)));
}

Cause unsolvable(const Obstacle& obstacle) {
  const bool is_conflict = obstacle.words.find("conflicts with") != std::string::npos;
  const std::string evidence = fmt::format("dnf-automatic: {}", obstacle.words);
  if (obstacle.has_unknown_repositories) {
    return obscures("solver.unknown",
                    "DNF cannot tell whether the upgrade is possible: it does not know all repositories yet",
                    evidence, "dnf makecache");
  }
  return is_conflict
             ? blocks("solver.conflict", "DNF cannot upgrade: packages of this host's conflict", evidence,
                      "Remove or upgrade the package that is in the way, or ask its vendor")
             : blocks("solver.unmet", "DNF cannot upgrade: what a package requires is missing", evidence,
                      "Add the repository that has what is missing, or ask the vendor of the package");
}

Cause passed_over(const Obstacle& /*obstacle*/) {
  return blocks("package.passed_over",
                fmt::format("The next run would not upgrade {}, although DNF can", PACKAGE_NAME),
                "dnf-automatic with this host's configuration, tried without changes",
                fmt::format("dnf -y upgrade {}", PACKAGE_NAME));
}

// It goes well as long as the versions have no file in common.
Cause installed_beside(const Obstacle& obstacle) {
  return obscures("package.installed_beside",
                  fmt::format("DNF is told to install each version of {} beside the one before, which rpm "
                              "refuses where both have a file",
                              PACKAGE_NAME),
                  obstacle.place(), without_word(obstacle, "installonlypkgs"));
}

Cause unreadable(const Obstacle& obstacle) {
  return blocks("repository.unreadable", "DNF cannot read a repository, which makes every run fail",
                obstacle.words,
                "Correct or switch off the repository that DNF names, or set its option skip_if_unavailable");
}

// DNF names the file and often the line.
Cause configuration_broken(const Obstacle& obstacle) {
  static const std::regex place("[Pp]arsing file ['\"]([^'\"]+)['\"] failed: [A-Za-z]+: .* at line ([0-9]+)");
  std::smatch found;
  // The standard library takes a part of the stack for each character.
  const std::string words(whole_beginning(obstacle.words, LONGEST_SEARCHED));
  if (std::regex_search(words, found, place)) {
    const std::string file = found[1];
    const std::string remedy = file == DNF_Constants::REPO_FILE_PATH
                                   ? fmt::format("rm {} && package-minder once", file)
                                   : fmt::format("sed -i {}d {}", found[2].str(), quoted(file));
    return blocks("dnf.configuration_broken", fmt::format("DNF cannot read {}", file), obstacle.words,
                  remedy);
  }
  return blocks("dnf.configuration_broken", "DNF cannot read its configuration", obstacle.words,
                "Correct the file that DNF names");
}

Cause options_refused(const Obstacle& obstacle) {
  const std::string renewed = fmt::format("rm {} && package-minder once", DNF_Constants::REPO_FILE_PATH);
  const bool is_of_all_repositories = obstacle.has_place() && obstacle.file != DNF_Constants::REPO_FILE_PATH;
  return blocks(
      "dnf.configuration_broken", "DNF refuses the options of the repository",
      obstacle.has_place() ? fmt::format("{}\n{}", obstacle.place(), obstacle.words) : obstacle.words,
      is_of_all_repositories ? edit(obstacle, "d", renewed) : renewed);
}

Cause no_address(const Obstacle& obstacle) {
  return blocks("dnf.configuration_broken", "The repository has no address",
                fmt::format("{}: no baseurl, metalink or mirrorlist in [{}]", obstacle.file,
                            DNF_Constants::DNF_REPO_ID),
                fmt::format("rm {} && package-minder once", DNF_Constants::REPO_FILE_PATH));
}

Cause no_key(const Obstacle& obstacle) {
  return blocks(
      "repository.key_not_imported",
      "rpm does not have the key that signs the packages, and refuses what is signed with it",
      fmt::format("rpm --query gpg-pubkey: {}", obstacle.words.empty() ? "none" : "not " + obstacle.words),
      obstacle.address.empty() ? "Import the vendor's key with rpm --import" : import_of(obstacle.address));
}

Cause signature_refused(const Obstacle& obstacle) {
  return blocks("repository.signature_refused",
                fmt::format("rpm refuses the signature of the new {}, or it has none", PACKAGE_NAME),
                obstacle.words, "Ask the vendor which key signs the packages");
}

Cause other_refused(const Obstacle& obstacle) {
  if (!obstacle.address.empty()) {
    return blocks("repository.key_not_imported",
                  fmt::format("rpm does not have the key that signs {}, which is upgraded in the same run, "
                              "and refuses the whole run",
                              obstacle.by),
                  obstacle.words, import_of(obstacle.address));
  }
  return blocks("repository.signature_refused",
                fmt::format("rpm refuses the signature of {}, which is upgraded in the same run, and with it "
                            "the whole run",
                            obstacle.by),
                obstacle.words, set_option(obstacle.other, "excludepkgs", obstacle.by));
}

Cause refused_by_rpm(const Obstacle& obstacle) {
  return blocks("package.refused_by_rpm",
                fmt::format("rpm would not install {} {} on this host", PACKAGE_NAME, obstacle.version),
                fmt::format("rpm --upgrade --test: {}", obstacle.words),
                "Remove what rpm names, or ask the vendor for a package that this host can take");
}

Cause script_failed(const Obstacle& obstacle) {
  return blocks("package.script_failed",
                fmt::format("{} {} cannot be installed: a script of its own has failed", PACKAGE_NAME,
                            obstacle.version),
                obstacle.place(), "Ask the vendor for a package that installs, with the words above");
}

Cause disk_full(const Obstacle& obstacle) {
  return blocks("disk.full", fmt::format("There is not enough room on the disk for the new {}", PACKAGE_NAME),
                fmt::format("{}: {} bytes are free, {} are needed", obstacle.directory, obstacle.free_bytes,
                            obstacle.needed_bytes),
                fmt::format("Make room in {}", obstacle.directory));
}

Cause disk_low(const Obstacle& obstacle) {
  return obscures("disk.low", "There may not be enough room on the disk for a run",
                  fmt::format("{}: {} bytes are free", obstacle.directory, obstacle.free_bytes),
                  fmt::format("Make room in {}", obstacle.directory));
}

Cause no_program(const Obstacle& obstacle) {
  return blocks("service.program_missing", "The service cannot start dnf-automatic", obstacle.words,
                "dnf -y reinstall dnf-automatic");
}

// A cycle installs it.
Cause no_automatic(const Obstacle& obstacle) {
  return blocks("service.program_missing", "dnf-automatic is not installed", obstacle.words,
                "package-minder once");
}

Cause read_only(const Obstacle& obstacle) {
  return blocks("disk.read_only", fmt::format("{} is on a file system that is read-only", obstacle.directory),
                fmt::format("statvfs {}: ST_RDONLY", obstacle.directory),
                fmt::format("mount -o remount,rw \"$(stat --format=%m {})\"", quoted(obstacle.directory)));
}

Cause not_registered(const Obstacle& /*obstacle*/) {
  return blocks("repository.not_registered",
                fmt::format("DNF has no repository {}", DNF_Constants::DNF_REPO_ID),
                fmt::format("dnf repolist --all: no {}", DNF_Constants::DNF_REPO_ID), "package-minder once");
}

Cause switched_off(const Obstacle& obstacle) {
  return blocks("repository.switched_off", "The repository is switched off", obstacle.place(),
                with_value(obstacle, "1",
                           fmt::format("dnf config-manager --set-enabled {}", DNF_Constants::DNF_REPO_ID)));
}

Cause not_installed(const Obstacle& /*obstacle*/) {
  return blocks("package.not_installed",
                fmt::format("{} is not installed, and upgrades install nothing new", PACKAGE_NAME),
                fmt::format("rpm --query {}", PACKAGE_NAME), fmt::format("dnf -y install {}", PACKAGE_NAME));
}

Cause security_only(const Obstacle& obstacle) {
  return blocks("upgrades.security_only",
                "Only packages that an advisory calls security upgrades are installed", obstacle.place(),
                with_value(obstacle, " default", "Set upgrade_type to default in /etc/dnf/automatic.conf"));
}

Cause not_applied(const Obstacle& obstacle) {
  return blocks("upgrades.not_applied", "dnf-automatic is told not to install what it finds",
                obstacle.has_place() ? obstacle.place() : "the arguments of dnf-automatic-install.service",
                "systemctl revert dnf-automatic-install.service");
}

Cause cache_only(const Obstacle& obstacle) {
  return blocks("repository.cache_only", "DNF is told never to ask its repositories for news",
                obstacle.place(), edit(obstacle, "d", "Remove cacheonly from DNF's configuration"));
}

Cause never_expires(const Obstacle& obstacle) {
  return blocks("repository.never_expires", "DNF is told to ask the repository for news too seldom, or never",
                obstacle.place(), with_value(obstacle, "3600", set_vendor_option("metadata_expire", "3600")));
}

// DNF asks at once when the file with the option is newer than what it knows, and after that rarely.
Cause expires_late(const Obstacle& obstacle) {
  Cause cause = never_expires(obstacle);
  cause.effect = Cause_Effect::OBSCURES;
  return cause;
}

Cause never_refreshed(const Obstacle& /*obstacle*/) {
  return obscures("repository.never_refreshed", "DNF knows nothing of the repository yet",
                  fmt::format("/var/cache/dnf/{}-*: no repomd.xml", DNF_Constants::DNF_REPO_ID),
                  fmt::format("dnf --refresh --repo {} makecache", DNF_Constants::DNF_REPO_ID));
}

Cause unreachable(const Obstacle& obstacle) {
  return cause_of_answer(obstacle.words, obstacle.address);
}

// The preview itself failed at something unexpected.
Cause failed(const Obstacle& obstacle) {
  return cause_of_failure(obstacle.words);
}

const std::map<std::string, std::function<Cause(const Obstacle&)>>& causes_by_kind() {
  static const std::map<std::string, std::function<Cause(const Obstacle&)>> causes = {
      {"excluded", excluded},
      {"not_included", not_included},
      {"version_locked", version_locked},
      {"hidden", hidden},
      {"in_module", in_module},
      {"obsoleted", obsoleted},
      {"outranked", outranked},
      {"unsolvable", unsolvable},
      {"passed_over", passed_over},
      {"installed_beside", installed_beside},
      {"unreadable", unreadable},
      {"configuration_broken", configuration_broken},
      {"no_address", no_address},
      {"options_refused", options_refused},
      {"no_key", no_key},
      {"signature_refused", signature_refused},
      {"other_refused", other_refused},
      {"refused_by_rpm", refused_by_rpm},
      {"script_failed", script_failed},
      {"disk_full", disk_full},
      {"disk_low", disk_low},
      {"no_program", no_program},
      {"no_automatic", no_automatic},
      {"read_only", read_only},
      {"not_registered", not_registered},
      {"switched_off", switched_off},
      {"not_installed", not_installed},
      {"security_only", security_only},
      {"not_applied", not_applied},
      {"cache_only", cache_only},
      {"never_expires", never_expires},
      {"expires_late", expires_late},
      {"never_refreshed", never_refreshed},
      {"unreachable", unreachable},
      {"not_downloaded", unreachable},
  };
  return causes;
}

}  // namespace

Causes causes_from(const std::vector<nlohmann::json>& obstacles) {
  Causes causes;
  for (const auto& json : obstacles) {
    const Obstacle obstacle(json);
    const auto found = causes_by_kind().find(obstacle.kind);
    causes.push_back(found == causes_by_kind().end() ? failed(obstacle) : found->second(obstacle));
  }
  return causes;
}

Cause cause_of_failure(std::string evidence) {
  return obscures("tools.failed", "DNF does not tell what the next run of its upgrades would do",
                  std::move(evidence),
                  "Repair DNF, until dnf-automatic /etc/dnf/automatic.conf --no-installupdates "
                  "--no-downloadupdates ends well");
}

}  // namespace zant::velmora_host::dnf_outlook
