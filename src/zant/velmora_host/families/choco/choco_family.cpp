#include <zant/velmora_host/families/choco/choco_family.hpp>

#include <zant/velmora_host/families/choco/base_directory_check.hpp>
#include <zant/velmora_host/families/choco/choco_outlook.hpp>

#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/facilitators/windows_package_facilitator.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <sstream>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;
namespace Choco_Constants = velmora::Choco_Constants;

class Windows_Package_Factory : public Package_Factory {
 public:
  Windows_Package_Factory(const Host_Services& services, const Settings& settings)
      : facilitator_(services.system, settings.configuration(), base_directory_of(settings)) {}

  std::shared_ptr<velmora::Package_Config> create_package_config(bool automatic_upgrades) const override {
    return facilitator_.create_package_config(automatic_upgrades);
  }

  std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const override {
    return facilitator_.create_package(std::move(config));
  }

 private:
  velmora::Windows_Package_Facilitator facilitator_;
};

std::string choco_command(const Settings& settings, const std::string& arguments) {
  return fmt::format(fmt::runtime(Choco_Constants::CHOCO_COMMAND_FORMAT), choco_program(settings).string(),
                     arguments);
}

// Arguments of choco.exe, or the beginning of them, and what they do.
struct Choco_Arguments {
  std::string text;
  Command_Kind kind;
};

const std::vector<Choco_Arguments>& choco_arguments() {
  static const std::vector<Choco_Arguments> table = {
      {Choco_Constants::PIN_LIST_ARGUMENTS, Command_Kind::QUERY},
      {Choco_Constants::SOURCE_LIST_ARGUMENTS, Command_Kind::QUERY},
      {Choco_Constants::LIST_INSTALLED_ARGUMENTS, Command_Kind::QUERY},
      {Choco_Constants::PIN_ARGUMENTS, Command_Kind::HOLDS_PACKAGE},
      {Choco_Constants::UNPIN_ARGUMENTS, Command_Kind::RELEASES_HOLD},
      {Choco_Constants::ADD_SOURCE_ARGUMENTS, Command_Kind::CHANGES_SOURCE},
      {Choco_Constants::REMOVE_SOURCE_ARGUMENTS, Command_Kind::CHANGES_SOURCE},
      {Choco_Constants::CLEAR_CACHE_ARGUMENTS, Command_Kind::REFRESHES_REPOSITORIES},
      // It registers a package that is on the disk already; upgrades are the task scheduler's.
      {Choco_Constants::ADOPT_INSTALLATION_ARGUMENTS, Command_Kind::CHANGES_SOURCE},
  };
  return table;
}

// What stands behind the quoted path of choco.exe, wherever that is; empty for another program.
std::string arguments_of(const std::string& line) {
  static const std::string END_OF_PROGRAM = "choco.exe\" ";
  const std::size_t end = line.find(END_OF_PROGRAM);
  return end == std::string::npos || line.front() != '"' ? "" : line.substr(end + END_OF_PROGRAM.size());
}

std::string output_of(velmora::System& system, const std::string& command) {
  const auto result = system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  return result.exit_code == 0 ? result.output : "";
}

// "zant-velmora 1.2.3", one package a line.
std::string version_in(const std::string& listing) {
  std::istringstream lines(listing);
  for (std::string name, version; lines >> name >> version; std::getline(lines, version)) {
    if (name == PACKAGE_NAME) {
      return version;
    }
  }
  return "";
}

}  // namespace

velmora::Package_Config_Type Choco_Family::type() const {
  return velmora::Package_Config_Type::Choco;
}

std::string Choco_Family::name() const {
  return "Chocolatey";
}

// Every Windows host is taken for one; whether choco.exe is there shows when it is run.
bool Choco_Family::matches(velmora::Filesystem& /*filesystem*/) const {
  return true;
}

// Chocolatey and the task scheduler are told everything by command lines: nothing is staged.
std::unique_ptr<Package_Factory> Choco_Family::create_package_factory(
    const Host_Services& services, const Settings& settings, const path& /*staging_directory*/) const {
  return std::make_unique<Windows_Package_Factory>(services, settings);
}

Findings Choco_Family::find_setting_faults(const Settings& settings) const {
  return find_base_directory_faults(settings);
}

Command_Traits Choco_Family::traits_of(const std::string& line) const {
  if (line == Choco_Constants::QUERY_TASK) {
    return {Command_Kind::QUERY};
  }
  if (line == Choco_Constants::DELETE_TASK) {
    return {Command_Kind::REMOVES_SCHEDULE};
  }
  if (boost::algorithm::starts_with(line, Choco_Constants::CREATE_TASK)) {
    // Each cycle creates the task again. schtasks.exe cannot say whether that would change it.
    return {Command_Kind::SCHEDULES_UPGRADES, Choco_Constants::QUERY_TASK};
  }
  const std::string arguments = arguments_of(line);
  const auto& table = choco_arguments();
  const auto found = std::find_if(table.begin(), table.end(), [&arguments](const Choco_Arguments& known) {
    return boost::algorithm::starts_with(arguments, known.text);
  });
  return found == table.end() ? Command_Traits{} : Command_Traits{found->kind};
}

std::optional<Cycle_Failure> Choco_Family::failure_of(const Ended_Command& command, Occasion /*occasion*/,
                                                      const Host_Services& /*services*/) const {
  if (command.exit_code == 0) {
    return std::nullopt;
  }
  const auto failure = [&command](Cycle_Step step, const char* program) {
    return Cycle_Failure{step, fmt::format("{} failed with exit code {} | Command: {}", program,
                                           command.exit_code, command.line)};
  };
  switch (traits_of(command.line).kind) {
    case Command_Kind::SCHEDULES_UPGRADES:
    case Command_Kind::REMOVES_SCHEDULE:
      return failure(Cycle_Step::UPGRADES, "schtasks.exe");
    case Command_Kind::HOLDS_PACKAGE:
    case Command_Kind::RELEASES_HOLD:
      return failure(Cycle_Step::HOLD, "choco.exe");
    default:
      // choco.exe fails on no question that it can answer; whether the task is there is schtasks.exe's
      // answer.
      return arguments_of(command.line).empty() ? std::nullopt
                                                : std::optional(failure(Cycle_Step::REPOSITORY, "choco.exe"));
  }
}

std::optional<int> Choco_Family::planned_exit_code_of(const std::string& /*query*/,
                                                      velmora::Filesystem& /*planned*/,
                                                      velmora::Filesystem& /*real*/) const {
  return std::nullopt;
}

std::map<std::string, std::string> Choco_Family::command_environment() const {
  return {};
}

File_Kind Choco_Family::kind_of(const path& /*file*/) const {
  return File_Kind::OTHER;
}

// The library writes no files here.
Installed_Paths Choco_Family::installed_paths() const {
  return {};
}

Staging_Layout Choco_Family::staging_layout() const {
  return {};
}

std::vector<path> Choco_Family::private_directories() const {
  return {};
}

std::vector<path> Choco_Family::directories() const {
  return {};
}

std::vector<Required_Tool> Choco_Family::required_tools() const {
  return {};
}

std::vector<std::string> Choco_Family::units() const {
  return {};
}

std::string Choco_Family::upgrade_timer() const {
  return "";
}

std::string Choco_Family::schedule_settings() const {
  return "";
}

bool Choco_Family::is_repository_registered(const Host_Services& services, const Settings& settings) const {
  const std::string sources =
      output_of(*services.system, choco_command(settings, Choco_Constants::SOURCE_LIST_ARGUMENTS));
  return sources.find(Choco_Constants::REPO_NAME) != std::string::npos;
}

// What is offered would have to be asked of the source, over the network.
Package_Versions Choco_Family::find_versions(const Host_Services& services, const Settings& settings) const {
  return {version_in(output_of(*services.system,
                               choco_command(settings, Choco_Constants::LIST_INSTALLED_ARGUMENTS))),
          ""};
}

std::string Choco_Family::hold_query(const Settings& settings) const {
  return choco_command(settings, Choco_Constants::PIN_LIST_ARGUMENTS);
}

Hold_State Choco_Family::hold_state_of(const velmora::Command_Result& answer,
                                       const Host_Services& /*services*/) const {
  if (answer.exit_code != 0) {
    return Hold_State::UNKNOWN;
  }
  return answer.output.find(PACKAGE_NAME) == std::string::npos ? Hold_State::NOT_HELD : Hold_State::HELD;
}

std::optional<std::vector<Signing_Key>> Choco_Family::read_keys(const Host_Services& /*services*/,
                                                                const path& /*staging_tree*/) const {
  return std::nullopt;
}

std::optional<std::vector<std::string>> Choco_Family::trusted_keys(const Host_Services& /*services*/) const {
  return std::nullopt;
}

std::optional<Finding> Choco_Family::find_cycle_obstacle(const Host_Services& /*services*/) const {
  return std::nullopt;
}

Findings Choco_Family::find_weaknesses(const Settings& /*settings*/, const Host_Services& /*services*/,
                                       velmora::Init /*init*/) const {
  return {};
}

std::vector<path> Choco_Family::replaced_files() const {
  return {};
}

std::vector<Displaced_Setting> Choco_Family::find_displaced_settings(
    const path& /*file*/, const std::string& /*before*/, const std::string& /*after*/,
    velmora::Filesystem& /*filesystem*/) const {
  return {};
}

void Choco_Family::check(const Settings& settings, const Host_Services& services, velmora::Init /*init*/,
                         Check_Report& report) const {
  if (const path program = choco_program(settings); !services.filesystem->exists(program)) {
    report.findings.push_back({program.string(), "this command is missing",
                               "install Chocolatey, or correct minder.base_directory", "tools.missing"});
  }
}

Upgrade_Outlook Choco_Family::find_upgrade_outlook(const Outlook_Question& question) const {
  return choco_outlook::find(question);
}

std::vector<boost::filesystem::path> Choco_Family::outlook_inputs() const {
  return choco_outlook::inputs();
}

std::vector<boost::filesystem::path> Choco_Family::installation_traces() const {
  return {};  // it installs nothing that may not be ended
}

}  // namespace zant::velmora_host
