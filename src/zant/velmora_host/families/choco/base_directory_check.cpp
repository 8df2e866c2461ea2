#include <zant/velmora_host/families/choco/base_directory_check.hpp>

#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/services/windows/code_page.hpp>

#include <zant/velmora/choco/choco_constants.hpp>

#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <string>
#include <string_view>

namespace zant::velmora_host {
namespace {

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

boost::filesystem::path base_directory_of(const Settings& settings) {
  return settings.configuration().getString("minder.base_directory");
}

boost::filesystem::path choco_program(const Settings& settings) {
  return base_directory_of(settings) / "chocolatey" / "choco.exe";
}

Findings find_base_directory_faults(const Settings& settings) {
  const auto directory = base_directory_of(settings);
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

}  // namespace zant::velmora_host
