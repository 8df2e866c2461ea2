#include <zant/velmora_host/families/apt/apt_family.hpp>

#include <zant/velmora_host/families/apt/apt_outlook.hpp>
#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>
#include <zant/velmora_host/families/apt/displaced_settings.hpp>
#include <zant/velmora_host/families/apt/repository_pin.hpp>
#include <zant/velmora_host/families/apt/source_lists.hpp>
#include <zant/velmora_host/families/keyring_check.hpp>
#include <zant/velmora_host/families/linux_package_factory.hpp>
#include <zant/velmora_host/families/staged_template.hpp>
#include <zant/velmora_host/families/systemd_commands.hpp>
#include <zant/velmora_host/settings/build_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <tuple>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;
namespace APT_Constants = velmora::APT_Constants;
namespace Upgrade_Timer_Constants = velmora::Upgrade_Timer_Constants;

// "install", "hold" and the like.
constexpr const char* WANTED_STATE_QUERY = "dpkg-query --show --showformat='${db:Status-Want}' zant-velmora";
constexpr int DPKG_QUERY_FINDS_NOTHING = 1;

constexpr const char* FOLDER = "apt";
constexpr const char* PACKAGE_LISTS = "/var/lib/apt/lists";
constexpr const char* CONFIGURATION_QUERY = "apt-config dump";

path keyring_in_tree() {
  return path("keyrings") / APT_Constants::APT_REPO_KEYRING_FILE;
}

const std::map<std::string, Command_Traits>& command_table() {
  using systemd_commands::noop_check_of_start;
  static const std::map<std::string, Command_Traits> table = {
      {APT_Constants::ARCHITECTURE_QUERY, {.kind = Command_Kind::QUERY, .must_print = true}},
      {APT_Constants::REPO_POLICY_QUERY, {Command_Kind::QUERY}},
      {APT_Constants::HOLD_QUERY, {Command_Kind::QUERY}},
      {APT_Constants::UNATTENDED_UPGRADES_PRESENCE, {Command_Kind::QUERY}},
      {APT_Constants::TIMER_STATUS, {Command_Kind::QUERY}},
      {APT_Constants::TIMER_NEEDS_RELOAD, {Command_Kind::QUERY}},
      {APT_Constants::REFRESH_REPOS, {Command_Kind::REFRESHES_REPOSITORIES}},
      {APT_Constants::HOLD_PACKAGE, {Command_Kind::HOLDS_PACKAGE}},
      {APT_Constants::UNHOLD_PACKAGE, {Command_Kind::RELEASES_HOLD, "! " + APT_Constants::HOLD_QUERY}},
      {APT_Constants::INSTALL_UNATTENDED_UPGRADES, {Command_Kind::INSTALLS_PACKAGES}},
      {APT_Constants::START_UNATTENDED_UPGRADES,
       {Command_Kind::STARTS_SERVICE, noop_check_of_start("unattended-upgrades.service")}},
      {APT_Constants::START_TIMER,
       {Command_Kind::STARTS_TIMER, noop_check_of_start(APT_Constants::APT_UPGRADE_TIMER)}},
      {APT_Constants::RELOAD_TIMER, {Command_Kind::RELOADS_TIMER}},
  };
  return table;
}

// As the origins of its repositories name it.
std::string distribution_of(velmora::Filesystem& filesystem) {
  const std::string os_release = filesystem.read_file("/etc/os-release", velmora::Read_Flag::WHOLE_TEXT);
  return boost::algorithm::icontains(os_release, "ubuntu") ? "Ubuntu" : "Debian";
}

// The library takes every failure of its question for "not held", also one of apt-mark's own.
std::optional<Cycle_Failure> find_hidden_hold(velmora::System& system) {
  const auto wanted = system.run_command(WANTED_STATE_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  const bool is_wanted_otherwise = wanted.exit_code == 0 && wanted.output.find("hold") == std::string::npos;
  if (is_wanted_otherwise || wanted.exit_code == DPKG_QUERY_FINDS_NOTHING) {
    return std::nullopt;
  }
  return Cycle_Failure{Cycle_Step::HOLD,
                       fmt::format("{} may be held: apt-mark does not tell, and dpkg says \"{}\"",
                                   PACKAGE_NAME, boost::algorithm::trim_copy(wanted.output))};
}

// "  Installed: 1.0" and the like; "(none)" stands for nothing.
std::string policy_field(const std::string& policy, const std::string& name) {
  std::istringstream lines(policy);
  for (std::string line; std::getline(lines, line);) {
    boost::algorithm::trim(line);
    if (boost::algorithm::starts_with(line, name)) {
      const std::string value = boost::algorithm::trim_copy(line.substr(name.size()));
      return value == "(none)" ? "" : value;
    }
  }
  return "";
}

}  // namespace

velmora::Package_Config_Type APT_Family::type() const {
  return velmora::Package_Config_Type::APT;
}

std::string APT_Family::name() const {
  return "APT";
}

bool APT_Family::matches(velmora::Filesystem& filesystem) const {
  using boost::algorithm::icontains;
  const std::string os_release = filesystem.read_file("/etc/os-release", velmora::Read_Flag::WHOLE_TEXT);
  return icontains(os_release, "ubuntu") || icontains(os_release, "debian");
}

std::unique_ptr<Package_Factory> APT_Family::create_package_factory(const Host_Services& services,
                                                                    const Settings& settings,
                                                                    const path& staging_directory) const {
  return std::make_unique<Linux_Package_Factory>(
      services, settings, staging_directory,
      std::make_shared<Repository_Pin>(services.filesystem, settings.repository_packages(),
                                       staging_directory));
}

Findings APT_Family::find_setting_faults(const Settings& settings) const {
  const std::string key = "package.apt.repo.url";
  const std::string url = settings.configuration().getString(key, "");
  if (settings.repository_packages().empty() || url.empty() || !site_of(url).empty()) {
    return {};
  }
  return {{"minder.repository_packages",
           fmt::format("{} is \"{}\", which names no server for APT to tell its packages by", key, url),
           "have the repository served under a name of its own, or leave minder.repository_packages empty",
           "repository.no_server"}};
}

Command_Traits APT_Family::traits_of(const std::string& line) const {
  const auto& table = command_table();
  const auto found = table.find(line);
  return found == table.end() ? Command_Traits{} : found->second;
}

std::optional<Cycle_Failure> APT_Family::failure_of(const Ended_Command& command, Occasion occasion,
                                                    const Host_Services& services) const {
  if (command.exit_code == 0) {
    return std::nullopt;
  }
  if (command.line == APT_Constants::HOLD_QUERY) {
    return find_hidden_hold(*services.system);
  }
  const std::string timer = APT_Constants::APT_UPGRADE_TIMER;
  switch (traits_of(command.line).kind) {
    case Command_Kind::RELEASES_HOLD:
      // A purge releases whatever hold there may be, also of a package that is not known any more.
      if (occasion == Occasion::PURGE) {
        return std::nullopt;
      }
      return Cycle_Failure{Cycle_Step::HOLD,
                           fmt::format("{} is still held: apt-mark failed with exit code {}", PACKAGE_NAME,
                                       command.exit_code)};
    case Command_Kind::STARTS_TIMER:
      if (!systemd_commands::runs_host(*services.filesystem)) {
        return std::nullopt;
      }
      return Cycle_Failure{Cycle_Step::UPGRADES, timer + " could not be started"};
    case Command_Kind::RELOADS_TIMER:
      return Cycle_Failure{Cycle_Step::UPGRADES, timer + " could not be reloaded"};
    default:
      return std::nullopt;
  }
}

std::optional<int> APT_Family::planned_exit_code_of(const std::string& /*query*/,
                                                    velmora::Filesystem& /*planned*/,
                                                    velmora::Filesystem& /*real*/) const {
  return std::nullopt;
}

std::map<std::string, std::string> APT_Family::command_environment() const {
  // By default "apt-get update" succeeds although a repository is unreachable.
  return {{"APT_CONFIG", Build_Config::APT_CONFIG_FILE}};
}

File_Kind APT_Family::kind_of(const path& file) const {
  if (file == APT_Constants::REPO_KEYRING_PATH) {
    return File_Kind::KEYRING;
  }
  if (file == APT_Constants::SOURCE_LIST_PATH) {
    return File_Kind::SOURCE_LIST;
  }
  if (file == Repository_Pin::FILE) {
    return File_Kind::PREFERENCES;
  }
  const path directory = file.parent_path();
  if (directory == APT_Constants::APT_CONFIG_BACKUP_DIR) {
    return File_Kind::BACKUP;
  }
  if (directory == APT_Constants::APT_GLOBAL_CONFIG_DIR) {
    return File_Kind::UPGRADE_CONFIGURATION;
  }
  return directory == APT_Constants::TIMER_OVERRIDE_DIR ? File_Kind::TIMER : File_Kind::OTHER;
}

Installed_Paths APT_Family::installed_paths() const {
  const path drop_ins = APT_Constants::TIMER_OVERRIDE_DIR;
  return {{APT_Constants::REPO_KEYRING_PATH, APT_Constants::SOURCE_LIST_PATH, Repository_Pin::FILE},
          {APT_Constants::APT_CONFIG_BACKUP_DIR, drop_ins / APT_Constants::TIMER_ON_CALENDAR_FILE,
           drop_ins / APT_Constants::TIMER_RANDOMIZED_DELAY_FILE}};
}

Staging_Layout APT_Family::staging_layout() const {
  const std::string text = "value";
  const int number = 1;
  return {{staged_template(FOLDER, APT_Constants::APT_SOURCE_LIST_FILE, text, text, text),
           staged_template(FOLDER, APT_Constants::APT_UNATTENDED_UPGRADES_FILE, text),
           staged_template(FOLDER, APT_Constants::APT_LOWERSPEED_FILE, number),
           staged_template(FOLDER, Upgrade_Timer_Constants::STAGED_ON_CALENDAR_FILE, text),
           staged_template(FOLDER, Upgrade_Timer_Constants::STAGED_RANDOMIZED_DELAY_FILE, text)},
          {path("config-files") / FOLDER / APT_Constants::APT_AUTO_UPGRADES_FILE},
          {keyring_in_tree()}};
}

std::vector<path> APT_Family::private_directories() const {
  return {APT_Constants::APT_CONFIG_BACKUP_DIR};
}

// APT names a list after its address without the scheme, and what it has it never compares with the
// repository's signature again.
std::vector<path> APT_Family::find_refreshed_files(const Settings& settings,
                                                   Host_Filesystem& filesystem) const {
  const std::string url = settings.configuration().getString("package.apt.repo.url", "");
  const std::vector<std::string> urls =
      url.empty() ? std::vector{APT_Constants::SECURE_DEFAULT_REPO_URL, APT_Constants::PLAIN_DEFAULT_REPO_URL}
                  : std::vector{url};
  std::vector<path> found = filesystem.list_entries(PACKAGE_LISTS);
  std::erase_if(found, [&](const path& file) {
    const std::string name = file.filename().string();
    return filesystem.type_of(file) != File_Type::FILE ||
           std::none_of(urls.begin(), urls.end(), [&name](const std::string& one) {
             const std::string site = site_of(one);
             return !site.empty() && (name.starts_with(site + "_") || name.starts_with(site + ":"));
           });
  });
  return found;
}

std::string APT_Family::refresh_keeping_line() const {
  return std::string("sync --file-system ") + PACKAGE_LISTS;
}

std::vector<path> APT_Family::directories() const {
  return {path(APT_Constants::REPO_KEYRING_PATH).parent_path(),
          path(APT_Constants::SOURCE_LIST_PATH).parent_path(), APT_Constants::APT_GLOBAL_CONFIG_DIR};
}

std::vector<Required_Tool> APT_Family::required_tools() const {
  return {{"bash", "bash"},         {"grep", "grep"},
          {"apt-get", "apt"},       {"apt-mark", "apt"},
          {"apt-cache", "apt"},     {"dpkg-query", "dpkg"},
          {"which", "debianutils"}, {"service", "init-system-helpers"}};
}

std::vector<std::string> APT_Family::units() const {
  return {APT_Constants::APT_UPGRADE_TIMER, "apt-daily-upgrade.service", "apt-daily.timer",
          "apt-daily.service", "unattended-upgrades.service"};
}

std::string APT_Family::upgrade_timer() const {
  return APT_Constants::APT_UPGRADE_TIMER;
}

std::string APT_Family::schedule_settings() const {
  return "package.apt.upgrade_timer";
}

bool APT_Family::is_repository_registered(const Host_Services& services, const Settings& /*settings*/) const {
  return services.filesystem->exists(APT_Constants::SOURCE_LIST_PATH) &&
         services.filesystem->exists(APT_Constants::REPO_KEYRING_PATH);
}

Package_Versions APT_Family::find_versions(const Host_Services& services,
                                           const Settings& /*settings*/) const {
  const auto policy =
      services.system->run_command(APT_Constants::REPO_POLICY_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  return policy.exit_code == 0 ? Package_Versions{policy_field(policy.output, "Installed:"),
                                                  policy_field(policy.output, "Candidate:")}
                               : Package_Versions{};
}

std::string APT_Family::hold_query(const Settings& /*settings*/) const {
  return APT_Constants::HOLD_QUERY;
}

Hold_State APT_Family::hold_state_of(const velmora::Command_Result& answer,
                                     const Host_Services& /*services*/) const {
  return answer.exit_code == 0 ? Hold_State::HELD : Hold_State::NOT_HELD;
}

std::optional<std::vector<Signing_Key>> APT_Family::read_keys(const Host_Services& services,
                                                              const path& staging_tree) const {
  const path keyring = staging_tree / keyring_in_tree();
  return services.filesystem->exists(keyring) ? read_keyring(*services.filesystem, keyring) : std::nullopt;
}

// The library asks for the package's architecture when it makes the source list, and takes no answer for an
// empty one: APT refuses to work with "[arch=]".
std::optional<Finding> APT_Family::find_cycle_obstacle(const Host_Services& services) const {
  const auto architecture =
      services.system->run_command(APT_Constants::ARCHITECTURE_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (architecture.exit_code == 0 && !boost::algorithm::trim_copy(architecture.output).empty()) {
    return std::nullopt;
  }
  return Finding{PACKAGE_NAME, "is not installed, and the repository's source list needs its architecture",
                 "install the package first, from the file that the vendor ships", "package.not_installed"};
}

Findings APT_Family::find_weaknesses(const Settings& settings, const Host_Services& services,
                                     velmora::Init init) const {
  const velmora::APT_Repo_Config repo(services.system, settings.configuration(), settings.staging_directory(),
                                      init);
  const auto& [url, channel] = std::tie(repo.source_list.url, repo.source_list.channel);
  const auto dump = services.system->run_command(CONFIGURATION_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  Findings findings = find_weak_apt_configuration(dump.output, url);
  const path list = APT_Constants::SOURCE_LIST_PATH;
  if (services.filesystem->exists(list)) {
    append(findings, find_weak_list_options(
                         list, services.filesystem->read_file(list, velmora::Read_Flag::WHOLE_TEXT)));
    append(findings, find_apt_refresh_faults(services, url, channel, APT_Constants::REPO_KEYRING_PATH,
                                             std::chrono::system_clock::now()));
  }
  return findings;
}

std::vector<path> APT_Family::replaced_files() const {
  std::vector<path> files;
  for (const auto& name : APT_Constants::UNATTENDED_UPGRADE_SERVICE_FILENAMES) {
    files.push_back(path(APT_Constants::APT_GLOBAL_CONFIG_DIR) / name);
  }
  return files;
}

std::vector<Displaced_Setting> APT_Family::find_displaced_settings(const path& file,
                                                                   const std::string& before,
                                                                   const std::string& after,
                                                                   velmora::Filesystem& filesystem) const {
  // With backups the files in place are the library's, and an edit of them is drift.
  if (filesystem.exists(APT_Constants::APT_CONFIG_BACKUP_DIR)) {
    return {};
  }
  std::vector<std::string> later;
  for (const char* const extension : {"", ".conf"}) {
    for (const auto& other : filesystem.list_files(file.parent_path(), extension)) {
      if (other.filename().string() > file.filename().string()) {
        later.push_back(filesystem.read_file(other, velmora::Read_Flag::WHOLE_TEXT));
      }
    }
  }
  std::vector<Displaced_Setting> displaced;
  for (const auto& [setting, message] :
       find_displaced_apt_settings(before, after, later, distribution_of(filesystem))) {
    displaced.push_back({file, setting, message});
  }
  return displaced;
}

// APT reads the keyring that is installed from the staging tree, and the library fetches none.
std::optional<std::vector<std::string>> APT_Family::trusted_keys(const Host_Services& /*services*/) const {
  return std::nullopt;
}

void APT_Family::check(const Settings& settings, const Host_Services& services, velmora::Init init,
                       Check_Report& report) const {
  const path tree = settings.staging_directory();
  if (services.filesystem->exists(tree / keyring_in_tree())) {
    check_keyring(*services.filesystem, tree / keyring_in_tree(), report);
  }
  const velmora::APT_Repo_Config repo(services.system, settings.configuration(), tree, init);
  append(report.findings,
         find_other_source_lists(*services.filesystem, repo.source_list.url, repo.source_list.channel));
  if (!settings.repository_packages().empty()) {
    const std::string& url = repo.source_list.url;
    append(report.findings, find_repositories_on_site(*services.filesystem, site_of(url), {url}));
  }
}

Upgrade_Outlook APT_Family::find_upgrade_outlook(const Outlook_Question& question) const {
  return apt_outlook::find(question);
}

std::vector<boost::filesystem::path> APT_Family::outlook_inputs() const {
  return apt_outlook::inputs();
}

std::vector<boost::filesystem::path> APT_Family::installation_traces() const {
  return {"/var/cache/apt/archives", "/var/lib/dpkg/status", "/var/lib/dpkg/updates", "/var/log/apt",
          "/var/log/dpkg.log"};
}

}  // namespace zant::velmora_host
