#include <zant/velmora_host/families/installation_command.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using Words = std::vector<std::string>;

// A word that starts with "-" and one more letter stands for every bundle of short options with that letter.
const std::set<std::string, std::less<>> APT_VERBS = {
    "install", "reinstall", "upgrade",    "full-upgrade", "dist-upgrade", "safe-upgrade",
    "remove",  "purge",     "autoremove", "autopurge",    "build-dep"};
const std::set<std::string, std::less<>> DNF_VERBS = {
    "install", "localinstall",   "groupinstall", "reinstall",   "upgrade", "upgrade-minimal",
    "update",  "update-minimal", "downgrade",    "distro-sync", "swap",    "remove",
    "erase",   "autoremove",     "group",        "module"};
const std::set<std::string, std::less<>> DPKG_VERBS = {"-i", "--install", "--unpack", "--configure",
                                                       "-r", "--remove",  "-P",       "--purge"};
const std::set<std::string, std::less<>> RPM_VERBS = {"-i", "--install", "-U", "--upgrade",
                                                      "-F", "--freshen", "-e", "--erase"};

const std::map<std::string, const std::set<std::string, std::less<>>&, std::less<>> TOOLS = {
    {"apt", APT_VERBS}, {"apt-get", APT_VERBS}, {"aptitude", APT_VERBS},
    {"dnf", DNF_VERBS}, {"dnf5", DNF_VERBS},    {"microdnf", DNF_VERBS},
    {"yum", DNF_VERBS}, {"dpkg", DPKG_VERBS},   {"rpm", RPM_VERBS},
};

const std::set<std::string, std::less<>> UNATTENDED_TOOLS = {"unattended-upgrade", "unattended-upgrades",
                                                             "dnf-automatic"};

// Quotes count as blanks: a line inside `bash -c '...'` is looked at like any other.
constexpr std::string_view BLANKS = " \t'\"`";
constexpr std::string_view COMMAND_SEPARATORS = ";&|()\n{}$";

std::vector<Words> simple_commands(const std::string& line) {
  std::vector<Words> commands(1);
  std::string word;
  const auto end_word = [&] {
    if (!word.empty()) {
      commands.back().push_back(std::exchange(word, ""));
    }
  };
  for (const char character : line) {
    if (COMMAND_SEPARATORS.find(character) != std::string_view::npos) {
      end_word();
      commands.emplace_back();
    } else if (BLANKS.find(character) != std::string_view::npos) {
      end_word();
    } else {
      word += character;
    }
  }
  end_word();
  return commands;
}

std::string_view program_name(const std::string& word) {
  return std::string_view(word).substr(word.rfind('/') + 1);
}

bool is_short_option(const std::string& word) {
  return word.size() > 1 && word[0] == '-' && word[1] != '-';
}

bool is_verb(const std::string& word, const std::set<std::string, std::less<>>& verbs) {
  if (verbs.contains(word)) {
    return true;
  }
  return is_short_option(word) && verbs.contains(word.substr(0, 2));
}

bool changes_packages(const Words& words) {
  for (auto word = words.begin(); word != words.end(); ++word) {
    const std::string_view program = program_name(*word);
    if (const auto tool = TOOLS.find(program); tool != TOOLS.end()) {
      const auto& verbs = tool->second;
      return std::any_of(word + 1, words.end(), [&verbs](const auto& next) { return is_verb(next, verbs); });
    }
  }
  return !words.empty() && UNATTENDED_TOOLS.contains(program_name(words.front()));
}

}  // namespace

bool changes_packages(const std::string& command) {
  const auto commands = simple_commands(command);
  return std::any_of(commands.begin(), commands.end(),
                     [](const Words& words) { return changes_packages(words); });
}

}  // namespace zant::velmora_host
