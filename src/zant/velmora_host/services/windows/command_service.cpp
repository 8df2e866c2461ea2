#include <zant/velmora_host/services/command_service.hpp>

#include <zant/velmora_host/services/windows/code_page.hpp>
#include <zant/velmora_host/services/windows/command_environment.hpp>
#include <zant/velmora_host/services/windows/command_process.hpp>

#include <zant/logging/source.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

// How soon a command is given up.
constexpr auto GIVING_UP_CHECK_INTERVAL = std::chrono::milliseconds(50);

void refuse_what_cmd_does_not_take(const std::string& command) {
  // cmd.exe would run the first line and ignore the others without an error.
  if (command.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
    throw std::runtime_error("a command is one line of text");
  }
  if (!code_page::is_utf8(command)) {
    throw std::runtime_error("a command is UTF-8");
  }
}

std::string in_seconds(std::chrono::milliseconds duration) {
  return fmt::format("{:g} s", std::chrono::duration<double>(duration).count());
}

}  // namespace

class PACKAGE_MINDER_HOST_LOCAL Command_Service::Implementation {
 public:
  explicit Implementation(Options options)
      : options_(std::move(options)), environment_(make_command_environment(options_.environment)) {
    log_.init_("Command_Service", "");
  }

  velmora::Command_Result run(const std::string& command, const Command_Bounds* bounds);

 private:
  int supervise_(Command_Process& process, const std::string& command);
  int supervise_(Command_Process& process, const std::string& command, const Command_Bounds& bounds);
  void log_outcome_(const Command_Process& process, const std::string& command,
                    const velmora::Command_Result& result, severity_level of_failure);

  zant::logging::Source log_;
  Options options_;
  std::wstring environment_;
};

velmora::Command_Result Command_Service::Implementation::run(const std::string& command,
                                                             const Command_Bounds* bounds) {
  ZANT_LOG(log_, severity_level::trace) << "Running command: " << command;
  try {
    refuse_what_cmd_does_not_take(command);
    Command_Process process(command, environment_, options_.output_limit);
    const int exit_code =
        bounds != nullptr ? supervise_(process, command, *bounds) : supervise_(process, command);
    velmora::Command_Result result = {code_page::utf8_of_console(process.output()), exit_code};
    log_outcome_(process, command, result,
                 bounds != nullptr ? severity_level::debug : severity_level::warning);
    return result;
  } catch (const std::runtime_error& error) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("Could not start a command: {} | Command: {}", error.what(), command);
    return {"", Exit_Code::NOT_STARTED};
  }
}

int Command_Service::Implementation::supervise_(Command_Process& process, const std::string& command) {
  if (process.run_until(Command_Process::Clock::now() + options_.time_limit)) {
    return process.exit_code();
  }
  if (options_.runs_to_its_end && options_.runs_to_its_end(command)) {
    ZANT_LOG(log_, severity_level::warning) << fmt::format(
        "A command that must not be ended takes longer than {}, waiting for its end | Command: {}",
        in_seconds(options_.time_limit), command);
    process.run_to_end();
    return process.exit_code();
  }
  ZANT_LOG(log_, severity_level::error) << fmt::format(
      "Ending a command that takes longer than {} | Command: {}", in_seconds(options_.time_limit), command);
  process.end_tree();
  return Exit_Code::TIME_LIMIT;
}

int Command_Service::Implementation::supervise_(Command_Process& process, const std::string& command,
                                                const Command_Bounds& bounds) {
  const auto deadline = std::min(bounds.deadline, Command_Process::Clock::now() + options_.time_limit);
  const auto is_given_up = [&bounds] { return bounds.is_given_up && bounds.is_given_up(); };
  while (Command_Process::Clock::now() < deadline && !is_given_up()) {
    const auto next_check = Command_Process::Clock::now() + GIVING_UP_CHECK_INTERVAL;
    if (process.run_until(bounds.is_given_up ? std::min(deadline, next_check) : deadline)) {
      return process.exit_code();
    }
  }
  ZANT_LOG(log_, severity_level::debug) << "Giving up a command | Command: " << command;
  process.end_tree();
  return Exit_Code::TIME_LIMIT;
}

void Command_Service::Implementation::log_outcome_(const Command_Process& process, const std::string& command,
                                                   const velmora::Command_Result& result,
                                                   severity_level of_failure) {
  if (process.is_truncated()) {
    ZANT_LOG(log_, severity_level::warning)
        << fmt::format("A command printed more than {} bytes, the rest is dropped | Command: {}",
                       options_.output_limit, command);
  }
  const std::string output = result.exit_code == 0 ? "" : boost::algorithm::trim_copy(result.output);
  ZANT_LOG(log_, output.empty() ? severity_level::debug : of_failure)
      << fmt::format("Command ended with exit code {} | Command: {}{}{}", result.exit_code, command,
                     output.empty() ? "" : " | Output: ", output);
}

Command_Service::Command_Service(Options options)
    : implementation_(std::make_unique<Implementation>(std::move(options))) {}

Command_Service::~Command_Service() = default;

velmora::Command_Result Command_Service::run_command(const std::string& command, bool /*flag*/) {
  return implementation_->run(command, nullptr);
}

velmora::Command_Result Command_Service::run_command_within(const std::string& command,
                                                            const Command_Bounds& bounds) {
  return implementation_->run(command, &bounds);
}

}  // namespace zant::velmora_host
