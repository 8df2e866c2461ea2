#include <zant/velmora_host/families/dnf/dnf_family.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/contained_fetches.hpp>
#include <zant/velmora_host/families/dnf/dnf_outlook.hpp>
#include <zant/velmora_host/families/dnf/included_packages.hpp>
#include <zant/velmora_host/families/dnf/repository_files.hpp>
#include <zant/velmora_host/families/linux_package_factory.hpp>
#include <zant/velmora_host/families/refresh_age.hpp>
#include <zant/velmora_host/families/staged_template.hpp>
#include <zant/velmora_host/families/systemd_commands.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/dnf/dnf_repo_config.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <string_view>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;
namespace DNF_Constants = velmora::DNF_Constants;
namespace Upgrade_Timer_Constants = velmora::Upgrade_Timer_Constants;

constexpr const char* FOLDER = "dnf";

// As the build installs it: see PACKAGE_MINDER_SHIP_DNF_KEY.
constexpr const char* SHIPPED_KEY_FILE = "zant-velmora.asc";

constexpr std::string_view FILE_SCHEME = "file://";
constexpr const char* IMPORT_KEY_PREFIX = "rpm --import ";
// rpm has a helper write what it fetches into a file, and forgets that file when there is no key in it. The
// limit is the helper's alone: rpm's database is larger.
constexpr const char* CONTAINMENT_FORMAT =
    " --define '_tmppath {}' --define \"_urlhelper prlimit --fsize={} $(rpm --eval '%{{?_urlhelper}}')\"";
// Which keys rpm has says nothing of the file that would be imported. That it has one is near enough: the
// import is repeated in every cycle.
constexpr const char* ANY_KEY_IMPORTED = "rpm --quiet --query gpg-pubkey";
constexpr const char* NO_CONFLICTING_TIMER =
    "! systemctl is-enabled --quiet dnf-automatic.timer dnf-automatic-download.timer "
    "dnf-automatic-notifyonly.timer "
    "2> /dev/null && "
    "! systemctl is-active --quiet dnf-automatic.timer dnf-automatic-download.timer "
    "dnf-automatic-notifyonly.timer";

// rpm keeps each key as a package. It fails when there is none, and says so on standard output.
constexpr const char* KEY_LIST_QUERY =
    "rpm --query --queryformat '%{NAME}-%{VERSION}-%{RELEASE} %{SUMMARY}\\n' gpg-pubkey";
// The keys themselves, armoured.
constexpr const char* KEY_TEXT_QUERY = "rpm --query --queryformat '%{DESCRIPTION}\\n' gpg-pubkey";
constexpr std::string_view KEY_BEGIN = "-----BEGIN PGP PUBLIC KEY BLOCK-----";
constexpr const char* NO_KEYS = "package gpg-pubkey is not installed";

constexpr const char* RPM_VERSION_QUERY = "rpm --query --queryformat '%{{VERSION}}-%{{RELEASE}}' {}";
// What DNF last learned: asking the repository would need the network.
constexpr const char* DNF_OFFER_QUERY =
    "dnf --quiet --cacheonly repoquery --repoid {} --latest-limit 1 --queryformat "
    "'%{{version}}-%{{release}}' {} "
    "2> /dev/null";

constexpr const char* CONFIG_MANAGER_PRESENCE =
    "dnf config-manager --help &> /dev/null || command -v yum-config-manager > /dev/null";
constexpr const char* DNF5_QUERY = "dnf --version 2> /dev/null | head -n 1 | grep -q dnf5";

constexpr const char* MAIN_CONFIGURATION = "/etc/dnf/dnf.conf";
constexpr const char* UPGRADE_SERVICE = "dnf-automatic-install.service";
// DNF touches the file whenever the repository has said that it has nothing newer.
constexpr const char* REFRESH_TIME_QUERY =
    "stat --format=%Y /var/cache/dnf/{}-*/repodata/repomd.xml 2> /dev/null | sort --numeric-sort | tail -n 1";
// The words of its last run, when that failed.
constexpr const char* FAILED_UPGRADE_QUERY =
    "systemctl is-failed --quiet {0} && journalctl --quiet --output=cat --lines=60 --unit={0} 2> /dev/null";

const std::map<std::string, Command_Traits>& command_table() {
  using systemd_commands::noop_check_of_start;
  static const std::map<std::string, Command_Traits> table = {
      {DNF_Constants::DNF_PRESENCE, {Command_Kind::QUERY}},
      {DNF_Constants::LOCK_QUERY, {Command_Kind::QUERY}},
      {DNF_Constants::DNF_AUTOMATIC_PRESENCE, {Command_Kind::QUERY}},
      {DNF_Constants::TIMER_STATUS, {Command_Kind::QUERY}},
      {DNF_Constants::TIMER_NEEDS_RELOAD, {Command_Kind::QUERY}},
      {DNF_Constants::EXCLUDE_PACKAGES, {Command_Kind::HOLDS_PACKAGE}},
      {DNF_Constants::INCLUDE_PACKAGES, {Command_Kind::RELEASES_HOLD}},
      {DNF_Constants::INSTALL_DNF_AUTOMATIC, {Command_Kind::INSTALLS_PACKAGES}},
      {DNF_Constants::DISABLE_CONFLICTING_TIMERS, {Command_Kind::DISABLES_TIMERS, NO_CONFLICTING_TIMER}},
      {DNF_Constants::START_TIMER,
       {Command_Kind::STARTS_TIMER, noop_check_of_start(DNF_Constants::DNF_AUTOMATIC_TIMER)}},
      {DNF_Constants::RELOAD_TIMER, {Command_Kind::RELOADS_TIMER}},
  };
  return table;
}

std::string output_of(velmora::System& system, const std::string& command) {
  const auto result = system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  return result.exit_code == 0 ? boost::algorithm::trim_copy(result.output) : "";
}

void check_key_address(const std::string& address, velmora::Filesystem& filesystem, Check_Report& report) {
  const char* const setting = "package.dnf.repo.gpg_key";
  const char* const remedy = "name a key file of this host, file:///..., or an https address";
  if (boost::algorithm::starts_with(address, FILE_SCHEME)) {
    if (!filesystem.exists(address.substr(FILE_SCHEME.size()))) {
      report.findings.push_back({setting, fmt::format("names a file that is missing: {}", address),
                                 "put the repository's public key there, ASCII-armoured, or name where it is",
                                 "repository.key_missing"});
    }
  } else if (boost::algorithm::starts_with(address, "https://")) {
    report.unchecked.push_back(
        {"key_address", "which keys " + address + " yields",
         "every cycle fetches and imports what is there: whoever controls that address decides which keys "
         "this host trusts, whereas a key file of this host (file:///...) stays what it is"});
  } else {
    report.findings.push_back(
        {setting,
         fmt::format("is \"{}\", which anybody on the network path can answer: every cycle imports what is "
                     "served, and this host trusts it from then on",
                     address),
         remedy, "repository.key_address_unprotected"});
  }
}

bool is_excluded_by_file(velmora::Filesystem& filesystem) {
  return excludes_packages(
      filesystem.read_file(DNF_Constants::REPO_FILE_PATH, velmora::Read_Flag::WHOLE_TEXT));
}

std::optional<Finding> find_old_metadata(velmora::System& system) {
  const std::string text = output_of(system, fmt::format(REFRESH_TIME_QUERY, DNF_Constants::DNF_REPO_ID));
  long long seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  const auto refreshed = time_since_epoch(seconds);
  return refreshed
             ? find_old_refresh(DNF_Constants::DNF_REPO_ID, *refreshed, std::chrono::system_clock::now(),
                                fmt::format("run \"dnf --refresh --repo {} makecache\" and see what it says",
                                            DNF_Constants::DNF_REPO_ID))
             : std::nullopt;
}

Findings find_failed_upgrade(velmora::System& system) {
  const auto answer = system.run_command(fmt::format(FAILED_UPGRADE_QUERY, UPGRADE_SERVICE),
                                         velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (answer.exit_code != 0) {
    return {};
  }
  const std::string remedy = fmt::format("see \"journalctl --unit={}\"", UPGRADE_SERVICE);
  static const std::array<const char*, 3> refusals = {"GPG check FAILED", "is not signed",
                                                      "is not installed. Failing package is:"};
  if (std::any_of(refusals.begin(), refusals.end(),
                  [&answer](const char* words) { return answer.output.find(words) != std::string::npos; })) {
    return {{UPGRADE_SERVICE,
             "the last automatic upgrade was refused: a package's signature is missing or of a key "
             "that rpm does not have",
             remedy + "; ask the vendor which key signs the packages", "repository.signature_refused"}};
  }
  return {{UPGRADE_SERVICE, "the last automatic upgrade failed", remedy, "upgrades.last_run_failed"}};
}

void check_dnf(velmora::System& system, Check_Report& report) {
  if (velmora::command_succeeds(system, DNF5_QUERY)) {
    report.findings.push_back({"dnf", "dnf5 is not supported: holds cannot be released",
                               "to release a hold, run \"dnf config-manager setopt quorvane.exclude=\"",
                               "host.dnf5"});
    return;
  }
  if (!velmora::command_succeeds(system, CONFIG_MANAGER_PRESENCE)) {
    report.findings.push_back({"dnf config-manager", "is missing: a hold cannot be released",
                               "install the package dnf-plugins-core", "tools.missing"});
  }
}

std::string reason_of_failed_import(const Ended_Command& command) {
  return command.exit_code == Contained_Fetches::TOO_LARGE
             ? fmt::format("what \"{}\" fetched is larger than {} MiB, which no key is", command.line,
                           Contained_Fetches::LARGEST >> 20U)
             : fmt::format("\"{}\" failed with exit code {}", command.line, command.exit_code);
}

}  // namespace

velmora::Package_Config_Type DNF_Family::type() const {
  return velmora::Package_Config_Type::DNF;
}

std::string DNF_Family::name() const {
  return "DNF";
}

bool DNF_Family::matches(velmora::Filesystem& filesystem) const {
  return boost::algorithm::icontains(filesystem.read_file("/etc/os-release", velmora::Read_Flag::WHOLE_TEXT),
                                     "rhel");
}

std::unique_ptr<Package_Factory> DNF_Family::create_package_factory(const Host_Services& services,
                                                                    const Settings& settings,
                                                                    const path& staging_directory) const {
  return std::make_unique<Linux_Package_Factory>(
      services, settings, staging_directory,
      std::make_shared<Included_Packages>(services.filesystem, settings.repository_packages(),
                                          staging_directory));
}

Findings DNF_Family::find_setting_faults(const Settings& /*settings*/) const {
  return {};
}

Command_Traits DNF_Family::traits_of(const std::string& line) const {
  if (boost::algorithm::starts_with(line, IMPORT_KEY_PREFIX)) {
    return {Command_Kind::IMPORTS_KEY, ANY_KEY_IMPORTED};
  }
  const auto& table = command_table();
  const auto found = table.find(line);
  return found == table.end() ? Command_Traits{} : found->second;
}

std::optional<Cycle_Failure> DNF_Family::failure_of(const Ended_Command& command, Occasion /*occasion*/,
                                                    const Host_Services& services) const {
  if (command.exit_code == 0) {
    return std::nullopt;
  }
  const std::string timer = DNF_Constants::DNF_AUTOMATIC_TIMER;
  if (command.line == DNF_Constants::LOCK_QUERY) {
    // Nothing is listed of a repository that cannot be read either, which the library takes for a hold.
    return is_excluded_by_file(*services.filesystem)
               ? std::nullopt
               : std::optional(Cycle_Failure{
                     Cycle_Step::REPOSITORY,
                     fmt::format("DNF lists no {} in the repository {}: the repository cannot be reached or "
                                 "read, or DNF's own configuration excludes the package",
                                 PACKAGE_NAME, DNF_Constants::DNF_REPO_ID)});
  }
  switch (traits_of(command.line).kind) {
    case Command_Kind::IMPORTS_KEY:
      return Cycle_Failure{Cycle_Step::REPOSITORY,
                           "The repository's key could not be imported: " + reason_of_failed_import(command)};
    case Command_Kind::RELEASES_HOLD:
      return Cycle_Failure{
          Cycle_Step::HOLD,
          fmt::format("{} is still held: the repository's option could not be set, exit code {}",
                      PACKAGE_NAME, command.exit_code)};
    case Command_Kind::DISABLES_TIMERS:
      // It fails too where not all of the timers exist.
      if (velmora::command_succeeds(*services.system, NO_CONFLICTING_TIMER)) {
        return std::nullopt;
      }
      return Cycle_Failure{Cycle_Step::UPGRADES, "dnf-automatic's other timers could not be disabled"};
    case Command_Kind::STARTS_TIMER:
      return Cycle_Failure{Cycle_Step::UPGRADES, timer + " could not be started"};
    case Command_Kind::RELOADS_TIMER:
      return Cycle_Failure{Cycle_Step::UPGRADES, timer + " could not be reloaded"};
    default:
      return std::nullopt;
  }
}

std::optional<int> DNF_Family::planned_exit_code_of(const std::string& query, velmora::Filesystem& planned,
                                                    velmora::Filesystem& real) const {
  if (query != DNF_Constants::LOCK_QUERY) {
    return std::nullopt;
  }
  const path file = DNF_Constants::REPO_FILE_PATH;
  const std::string text = planned.read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  if (text == real.read_file(file, velmora::Read_Flag::WHOLE_TEXT)) {
    return std::nullopt;
  }
  // The real query would answer for the repository as it is now; of one that is registered anew DNF lists the
  // package, unless the new file excludes it.
  return excludes_packages(text) ? 1 : 0;
}

// Asking the repository would take minutes when its server is silent.
std::string DNF_Family::report_form_of(const std::string& query) const {
  return query == DNF_Constants::LOCK_QUERY
             ? fmt::format("dnf --cacheonly{}", query.substr(std::string_view("dnf").size()))
             : query;
}

std::optional<std::string> DNF_Family::contained_form_of(const std::string& line,
                                                         const path& directory) const {
  if (!boost::algorithm::starts_with(line, IMPORT_KEY_PREFIX) ||
      boost::algorithm::starts_with(line, std::string(IMPORT_KEY_PREFIX) + std::string(FILE_SCHEME))) {
    return std::nullopt;
  }
  return line + fmt::format(CONTAINMENT_FORMAT, directory.string(), Contained_Fetches::LARGEST);
}

std::map<std::string, std::string> DNF_Family::command_environment() const {
  return {};
}

File_Kind DNF_Family::kind_of(const path& file) const {
  if (file == DNF_Constants::REPO_FILE_PATH) {
    return File_Kind::REPOSITORY_FILE;
  }
  return file.parent_path() == DNF_Constants::TIMER_OVERRIDE_DIR ? File_Kind::TIMER : File_Kind::OTHER;
}

Installed_Paths DNF_Family::installed_paths() const {
  const path drop_ins = DNF_Constants::TIMER_OVERRIDE_DIR;
  return {{DNF_Constants::REPO_FILE_PATH},
          {drop_ins / DNF_Constants::TIMER_ON_CALENDAR_FILE,
           drop_ins / DNF_Constants::TIMER_RANDOMIZED_DELAY_FILE}};
}

Staging_Layout DNF_Family::staging_layout() const {
  const std::string text = "value";
  return {{staged_template(FOLDER, DNF_Constants::DNF_REPO_FILE, text, text, text, text, text),
           staged_template(FOLDER, Upgrade_Timer_Constants::STAGED_ON_CALENDAR_FILE, text),
           staged_template(FOLDER, Upgrade_Timer_Constants::STAGED_RANDOMIZED_DELAY_FILE, text)},
          {},
          {},
          {path("keyrings") / SHIPPED_KEY_FILE}};
}

std::vector<path> DNF_Family::private_directories() const {
  return {};
}

std::vector<path> DNF_Family::directories() const {
  return {path(DNF_Constants::REPO_FILE_PATH).parent_path()};
}

std::vector<Required_Tool> DNF_Family::required_tools() const {
  return {{"bash", "bash"}, {"grep", "grep"},   {"dnf", "dnf"},
          {"rpm", "rpm"},   {"which", "which"}, {"prlimit", "util-linux"}};
}

std::vector<std::string> DNF_Family::units() const {
  return {DNF_Constants::DNF_AUTOMATIC_TIMER, "dnf-automatic-install.service"};
}

std::string DNF_Family::upgrade_timer() const {
  return DNF_Constants::DNF_AUTOMATIC_TIMER;
}

std::string DNF_Family::schedule_settings() const {
  return "package.dnf.upgrade_timer";
}

bool DNF_Family::is_repository_registered(const Host_Services& services, const Settings& /*settings*/) const {
  return services.filesystem->exists(DNF_Constants::REPO_FILE_PATH);
}

Package_Versions DNF_Family::find_versions(const Host_Services& services,
                                           const Settings& /*settings*/) const {
  return {
      output_of(*services.system, fmt::format(RPM_VERSION_QUERY, PACKAGE_NAME)),
      output_of(*services.system, fmt::format(DNF_OFFER_QUERY, DNF_Constants::DNF_REPO_ID, PACKAGE_NAME))};
}

std::string DNF_Family::hold_query(const Settings& /*settings*/) const {
  return DNF_Constants::LOCK_QUERY;
}

Hold_State DNF_Family::hold_state_of(const velmora::Command_Result& answer,
                                     const Host_Services& services) const {
  if (answer.exit_code == 0) {
    return Hold_State::NOT_HELD;
  }
  return is_excluded_by_file(*services.filesystem) ? Hold_State::HELD : Hold_State::UNKNOWN;
}

// The library has rpm fetch the key from its address in every cycle; there is no keyring to read.
std::optional<std::vector<Signing_Key>> DNF_Family::read_keys(const Host_Services& /*services*/,
                                                              const path& /*staging_tree*/) const {
  return std::nullopt;
}

std::optional<std::vector<std::string>> DNF_Family::trusted_keys(const Host_Services& services) const {
  const auto answer = services.system->run_command(KEY_LIST_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (answer.exit_code != 0 && !boost::algorithm::starts_with(answer.output, NO_KEYS)) {
    return std::nullopt;
  }
  std::vector<std::string> keys;
  if (answer.exit_code == 0) {
    boost::algorithm::split(keys, answer.output, boost::algorithm::is_any_of("\n"));
  }
  std::erase(keys, "");
  // A key's owner is whatever the key says.
  std::transform(keys.begin(), keys.end(), keys.begin(), printable);
  std::sort(keys.begin(), keys.end());
  return keys;
}

// One that our reader does not understand hides no other.
std::optional<std::vector<Signing_Key>> DNF_Family::read_installed_keys(const Host_Services& services) const {
  const auto answer = services.system->run_command(KEY_TEXT_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (answer.exit_code != 0) {
    return std::nullopt;
  }
  std::vector<Signing_Key> keys;
  std::size_t begin = answer.output.find(KEY_BEGIN);
  while (begin != std::string::npos) {
    const std::size_t next = answer.output.find(KEY_BEGIN, begin + KEY_BEGIN.size());
    if (const auto keyring = parse_keyring(std::string_view(answer.output).substr(begin, next - begin))) {
      keys.insert(keys.end(), keyring->keys.begin(), keyring->keys.end());
    }
    begin = next;
  }
  return keys;
}

std::optional<Finding> DNF_Family::find_cycle_obstacle(const Host_Services& /*services*/) const {
  return std::nullopt;
}

Findings DNF_Family::find_weaknesses(const Settings& /*settings*/, const Host_Services& services,
                                     velmora::Init init) const {
  const auto text_of = [&services](const path& file) {
    return services.filesystem->read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  };
  const path repository_file = DNF_Constants::REPO_FILE_PATH;
  if (!services.filesystem->exists(repository_file)) {
    return {};
  }
  Findings findings = find_weak_options(text_of(repository_file), text_of(MAIN_CONFIGURATION));
  if (const auto old = find_old_metadata(*services.system)) {
    findings.push_back(*old);
  }
  if (init == velmora::Init::systemd) {
    append(findings, find_failed_upgrade(*services.system));
  }
  return findings;
}

std::vector<path> DNF_Family::replaced_files() const {
  return {};
}

std::vector<Displaced_Setting> DNF_Family::find_displaced_settings(
    const path& /*file*/, const std::string& /*before*/, const std::string& /*after*/,
    velmora::Filesystem& /*filesystem*/) const {
  return {};
}

void DNF_Family::check(const Settings& settings, const Host_Services& services, velmora::Init /*init*/,
                       Check_Report& report) const {
  check_dnf(*services.system, report);
  const velmora::DNF_Repo_Config repo(settings.configuration(), settings.staging_directory());
  append(report.findings, find_other_repository_files(*services.filesystem, repo.base_url));
  check_key_address(repo.gpg_key_url, *services.filesystem, report);
}

Upgrade_Outlook DNF_Family::find_upgrade_outlook(const Outlook_Question& question) const {
  return dnf_outlook::find(question);
}

std::vector<boost::filesystem::path> DNF_Family::outlook_inputs() const {
  return dnf_outlook::inputs();
}

std::vector<boost::filesystem::path> DNF_Family::installation_traces() const {
  return {"/var/cache/dnf",   "/var/lib/rpm",         "/usr/lib/sysimage/rpm",
          "/var/log/dnf.log", "/var/log/dnf.rpm.log", "/var/log/dnf.librepo.log"};
}

}  // namespace zant::velmora_host
