#include <zant/velmora/choco/choco_exe.hpp>

#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <utility>

namespace zant::velmora {

using Package_Constants::PACKAGE_NAME;
using zant::logging::severity_level;

Choco_Exe::Choco_Exe(std::shared_ptr<System> system, const boost::filesystem::path& exe_path)
    : system_(std::move(system)), exe_path_(exe_path) {
  log_.init_("Choco_Exe", "");
}

std::string Choco_Exe::get_exe_path() const {
  return exe_path_.string();
}

bool Choco_Exe::package_is_pinned() {
  return choco_output_contains_(Choco_Constants::PIN_LIST_ARGUMENTS, PACKAGE_NAME);
}

bool Choco_Exe::pin_package() {
  ZANT_LOG(log_, severity_level::notice) << fmt::format("Pin {} package to prevent upgrades", PACKAGE_NAME);
  return choco_command_succeeds_(Choco_Constants::PIN_ARGUMENTS);
}

bool Choco_Exe::unpin_package() {
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Unpin {} package to allow for upgrades", PACKAGE_NAME);
  return choco_command_succeeds_(Choco_Constants::UNPIN_ARGUMENTS);
}

bool Choco_Exe::add_repo(const std::string& source_location) {
  if (choco_output_contains_(Choco_Constants::SOURCE_LIST_ARGUMENTS, source_location)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Adding {} package repository | Location: {}", PACKAGE_NAME, source_location);
  return choco_command_succeeds_(
             fmt::format("{} {}", Choco_Constants::ADD_SOURCE_ARGUMENTS, source_location)) &&
         sync_with_system_();
}

bool Choco_Exe::remove_repo() {
  if (!choco_output_contains_(Choco_Constants::SOURCE_LIST_ARGUMENTS, Choco_Constants::REPO_NAME)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::notice) << fmt::format("Removing {} package repository", PACKAGE_NAME);
  return choco_command_succeeds_(Choco_Constants::REMOVE_SOURCE_ARGUMENTS);
}

void Choco_Exe::clear_http_cache() {
  run_choco_command_(Choco_Constants::CLEAR_CACHE_ARGUMENTS);
}

Command_Result Choco_Exe::run_choco_command_(const std::string& arguments) {
  const std::string command =
      fmt::format(fmt::runtime(Choco_Constants::CHOCO_COMMAND_FORMAT), exe_path_.string(), arguments);
  Command_Result result = system_->run_command(command, Run_Flag::WAIT_AND_CAPTURE);
  if (result.exit_code != 0) {
    ZANT_LOG(log_, severity_level::error) << fmt::format(
        "choco.exe command failed with return code {} | Command: {}", result.exit_code, command);
  }
  return result;
}

bool Choco_Exe::choco_command_succeeds_(const std::string& arguments) {
  return run_choco_command_(arguments).exit_code == 0;
}

bool Choco_Exe::choco_output_contains_(const std::string& arguments, const std::string& text) {
  return run_choco_command_(arguments).output.find(text) != std::string::npos;
}

bool Choco_Exe::sync_with_system_() {
  if (choco_output_contains_(Choco_Constants::LIST_INSTALLED_ARGUMENTS, PACKAGE_NAME)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Syncing with system to manage existing {} install", PACKAGE_NAME);
  return choco_command_succeeds_(Choco_Constants::ADOPT_INSTALLATION_ARGUMENTS);
}

}  // namespace zant::velmora
