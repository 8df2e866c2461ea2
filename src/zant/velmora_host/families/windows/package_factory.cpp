#include <zant/velmora_host/families/package_factory.hpp>

#include <zant/velmora_host/families/installation_command.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/services/windows/code_page.hpp>
#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/facilitators/windows_package_facilitator.hpp>

#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <string>
#include <string_view>
#include <utility>

namespace zant::velmora_host {
namespace {

boost::filesystem::path base_directory(const Settings& settings) {
  return settings.configuration().getString("minder.base_directory");
}

class Windows_Package_Factory : public Package_Factory {
 public:
  Windows_Package_Factory(const Host_Services& services, const Settings& settings)
      : facilitator_(services.system, settings.configuration(), base_directory(settings)) {}

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

// What schtasks.exe takes behind /TR.
constexpr std::size_t LONGEST_TASK_COMMAND = 261;

bool makes_too_long_a_command(const boost::filesystem::path& directory) {
  const auto program = (directory / "chocolatey" / "choco.exe").wstring();
  return program.size() + std::string_view("\"\" ").size() +
             velmora::Choco_Constants::UPGRADE_ARGUMENTS.size() >
         LONGEST_TASK_COMMAND;
}

// The path is part of command lines, of this program's and of the scheduled task's.
std::string find_base_directory_fault(const boost::filesystem::path& directory) {
  boost::system::error_code ignored;
  const std::string text = directory.string();
  if (text.find_first_of("&^%") != std::string::npos) {
    return "cmd.exe would not take the characters &, ^ and % as they are";
  }
  if (!code_page::has_all_of(text)) {
    return "has characters that are not in the code page of this system";
  }
  if (makes_too_long_a_command(directory)) {
    return fmt::format("is too long: the task scheduler takes a command of {} characters",
                       LONGEST_TASK_COMMAND);
  }
  return boost::filesystem::is_directory(directory, ignored) ? "" : "this directory is missing";
}

// Whoever can change these decides what an administrator's account runs.
void append_foreign_writer(Findings& findings, const boost::filesystem::path& file) {
  boost::system::error_code ignored;
  if (!boost::filesystem::exists(file, ignored)) {
    return;
  }
  if (const std::string fault = privileges::who_else_may_write(file); !fault.empty()) {
    findings.push_back({file.string(), fault, "nobody but administrators and the system may be able to"});
  }
}

}  // namespace

Findings find_host_faults(const Settings& settings) {
  const auto directory = base_directory(settings);
  if (const std::string fault = find_base_directory_fault(directory); !fault.empty()) {
    return {{directory.string(), fault,
             "minder.base_directory must name the directory that has Chocolatey's directory \"chocolatey\" "
             "in it"}};
  }
  Findings findings;
  append_foreign_writer(findings, directory / "chocolatey" / "choco.exe");
  append_foreign_writer(findings, settings.file());
  return findings;
}

// Chocolatey and the task scheduler are told everything by command lines.
void make_staging_directory(const Settings& /*settings*/, const boost::filesystem::path& directory) {
  create_protected_directory(directory);
}

Host_Services make_host_services(const Settings& settings) {
  Command_Service::Options options;
  options.time_limit = settings.command_time_limit();
  options.runs_to_its_end = changes_packages;
  return {std::make_shared<Command_Service>(options), std::make_shared<File_Service>()};
}

std::unique_ptr<Package_Factory> make_package_factory(const Host_Services& services, const Settings& settings,
                                                      const boost::filesystem::path& /*staging_directory*/) {
  return std::make_unique<Windows_Package_Factory>(services, settings);
}

// The library writes no files here.
Installed_Paths installed_paths() {
  return {};
}

void remove_interrupted_writes(velmora::Filesystem& /*filesystem*/) {}

}  // namespace zant::velmora_host
