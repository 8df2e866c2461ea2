#include <zant/velmora_host/services/posix/posix_system.hpp>

#include <zant/velmora_host/services/installation_command.hpp>
#include <zant/velmora_host/services/posix/child_process.hpp>
#include <zant/velmora_host/services/posix/command_environment.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

// Enough to recognise a command by.
constexpr std::size_t LONGEST_COMMAND_IN_LOG = 500;

std::string shortened(const std::string& command) {
  return command.size() <= LONGEST_COMMAND_IN_LOG ? command
                                                  : command.substr(0, LONGEST_COMMAND_IN_LOG) + "[...]";
}

std::string in_seconds(std::chrono::milliseconds duration) {
  return fmt::format("{:g} s", std::chrono::duration<double>(duration).count());
}

std::string error_text_of(const Child_Process& child) {
  const auto& stream = child.error_output();
  const std::string text = boost::algorithm::trim_copy(stream.text());
  return stream.is_truncated() ? "[...] " + text : text;
}

}  // namespace

Posix_System::Posix_System(Options options)
    : options_(std::move(options)), environment_(make_command_environment(options_.environment)) {
  log_.init_("Posix_System", "");
}

velmora::Command_Result Posix_System::run_command(const std::string& command, bool /*flag*/) {
  ZANT_LOG(log_, severity_level::trace) << "Running command: " << shortened(command);
  try {
    Child_Process child(command, environment_, options_.output_limit);
    const int exit_code = supervise_(child, command);
    log_outcome_(child, command, exit_code);
    return {child.output().text(), exit_code};
  } catch (const std::system_error& error) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("Could not start a command: {} | Command: {}", error.what(), shortened(command));
    return {"", Exit_Code::NOT_STARTED};
  }
}

int Posix_System::supervise_(Child_Process& child, const std::string& command) {
  if (child.run_until(Child_Process::Clock::now() + options_.time_limit)) {
    return reap_(child, command);
  }
  if (!changes_packages(command)) {
    return end_(child, command);
  }
  ZANT_LOG(log_, severity_level::warning) << fmt::format(
      "A command that changes packages takes longer than {}, leaving it to its end | Command: {}",
      in_seconds(options_.time_limit), shortened(command));
  child.run_to_end();
  return reap_(child, command);
}

int Posix_System::end_(Child_Process& child, const std::string& command) {
  ZANT_LOG(log_, severity_level::error)
      << fmt::format("Ending a command that takes longer than {} | Command: {}",
                     in_seconds(options_.time_limit), shortened(command));
  child.end_group(options_.kill_delay);
  // Whatever it says of itself at its end: it did not do what it was asked for.
  child.collect_exit_status();
  return Exit_Code::TIME_LIMIT;
}

int Posix_System::reap_(Child_Process& child, const std::string& command) {
  if (const auto status = child.collect_exit_status()) {
    return *status;
  }
  ZANT_LOG(log_, severity_level::error) << fmt::format(
      "The exit status of a command is lost: this process ignores SIGCHLD, or something in it reaps the "
      "children of others | Command: {}",
      shortened(command));
  return Exit_Code::STATUS_LOST;
}

void Posix_System::log_outcome_(const Child_Process& child, const std::string& command, int exit_code) {
  if (child.output().is_truncated()) {
    ZANT_LOG(log_, severity_level::warning)
        << fmt::format("A command printed more than {} bytes, the rest is dropped | Command: {}",
                       options_.output_limit, shortened(command));
  }
  // Failing without a word is how many of the lines say "no": that alone is nothing to report.
  const std::string error_text = error_text_of(child);
  const auto level = exit_code != 0 && !error_text.empty() ? severity_level::warning : severity_level::debug;
  ZANT_LOG(log_, level) << fmt::format("Command ended with exit code {} | Command: {}{}{}", exit_code,
                                       shortened(command),
                                       error_text.empty() ? "" : " | Error output: ", error_text);
}

}  // namespace zant::velmora_host
