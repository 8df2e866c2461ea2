#include <zant/velmora_host/services/command_service.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/services/posix/child_process.hpp>
#include <zant/velmora_host/services/posix/command_environment.hpp>

#include <zant/logging/source.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <system_error>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

// Enough to recognise a command by.
constexpr std::size_t LONGEST_COMMAND_IN_LOG = 500;

// How soon a command is given up, and how long it may then take to end.
constexpr auto GIVING_UP_CHECK_INTERVAL = std::chrono::milliseconds(50);
constexpr auto GIVEN_UP_KILL_DELAY = std::chrono::milliseconds(500);

std::string in_seconds(std::chrono::milliseconds duration) {
  return fmt::format("{:g} s", std::chrono::duration<double>(duration).count());
}

std::string error_text_of(const Child_Process& child) {
  const auto& stream = child.error_output();
  const std::string text = boost::algorithm::trim_copy(stream.text());
  return stream.is_truncated() ? "[...] " + std::string(whole_end(text)) : text;
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
  int supervise_(Child_Process& child, const std::string& command);
  int supervise_(Child_Process& child, const std::string& command, const Command_Bounds& bounds);
  int end_(Child_Process& child, const std::string& command);
  int reap_(Child_Process& child, const std::string& command);
  void log_outcome_(const Child_Process& child, const std::string& command, int exit_code,
                    severity_level of_failure);

  zant::logging::Source log_;
  Options options_;
  std::vector<std::string> environment_;
};

velmora::Command_Result Command_Service::Implementation::run(const std::string& command,
                                                             const Command_Bounds* bounds) {
  ZANT_LOG(log_, severity_level::trace) << "Running command: " << shortened(command, LONGEST_COMMAND_IN_LOG);
  try {
    Child_Process child(command, environment_, options_.output_limit);
    const int exit_code =
        bounds != nullptr ? supervise_(child, command, *bounds) : supervise_(child, command);
    log_outcome_(child, command, exit_code,
                 bounds != nullptr ? severity_level::debug : severity_level::warning);
    return {child.output().text(), exit_code};
  } catch (const std::system_error& error) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("Could not start a command: {} | Command: {}", error.what(),
                       shortened(command, LONGEST_COMMAND_IN_LOG));
    return {"", Exit_Code::NOT_STARTED};
  }
}

int Command_Service::Implementation::supervise_(Child_Process& child, const std::string& command) {
  if (child.run_until(Child_Process::Clock::now() + options_.time_limit)) {
    return reap_(child, command);
  }
  if (!options_.runs_to_its_end || !options_.runs_to_its_end(command)) {
    return end_(child, command);
  }
  ZANT_LOG(log_, severity_level::warning) << fmt::format(
      "A command that must not be ended takes longer than {}, waiting for its end | Command: {}",
      in_seconds(options_.time_limit), shortened(command, LONGEST_COMMAND_IN_LOG));
  child.run_to_end();
  return reap_(child, command);
}

int Command_Service::Implementation::supervise_(Child_Process& child, const std::string& command,
                                                const Command_Bounds& bounds) {
  const auto deadline = std::min(bounds.deadline, Child_Process::Clock::now() + options_.time_limit);
  const auto is_given_up = [&bounds] { return bounds.is_given_up && bounds.is_given_up(); };
  while (Child_Process::Clock::now() < deadline && !is_given_up()) {
    const auto next_check = Child_Process::Clock::now() + GIVING_UP_CHECK_INTERVAL;
    if (child.run_until(bounds.is_given_up ? std::min(deadline, next_check) : deadline)) {
      return reap_(child, command);
    }
  }
  ZANT_LOG(log_, severity_level::debug)
      << "Giving up a command | Command: " << shortened(command, LONGEST_COMMAND_IN_LOG);
  child.end_group(GIVEN_UP_KILL_DELAY);
  child.collect_exit_status();
  return Exit_Code::TIME_LIMIT;
}

int Command_Service::Implementation::end_(Child_Process& child, const std::string& command) {
  ZANT_LOG(log_, severity_level::error)
      << fmt::format("Ending a command that takes longer than {} | Command: {}",
                     in_seconds(options_.time_limit), shortened(command, LONGEST_COMMAND_IN_LOG));
  child.end_group(options_.kill_delay);
  // Its own exit status does not count: it was ended before it was done.
  child.collect_exit_status();
  return Exit_Code::TIME_LIMIT;
}

int Command_Service::Implementation::reap_(Child_Process& child, const std::string& command) {
  if (const auto status = child.collect_exit_status()) {
    return *status;
  }
  ZANT_LOG(log_, severity_level::error) << fmt::format(
      "The exit status of a command is lost: this process ignores SIGCHLD, or something in it reaps the "
      "children of others | Command: {}",
      shortened(command, LONGEST_COMMAND_IN_LOG));
  return Exit_Code::STATUS_LOST;
}

void Command_Service::Implementation::log_outcome_(const Child_Process& child, const std::string& command,
                                                   int exit_code, severity_level of_failure) {
  if (child.output().is_truncated()) {
    ZANT_LOG(log_, severity_level::warning)
        << fmt::format("A command printed more than {} bytes, the rest is dropped | Command: {}",
                       options_.output_limit, shortened(command, LONGEST_COMMAND_IN_LOG));
  }
  // Many of the library's command lines answer "no" by failing without error output: no warning then.
  const std::string error_text = error_text_of(child);
  const auto level = exit_code != 0 && !error_text.empty() ? of_failure : severity_level::debug;
  ZANT_LOG(log_, level) << fmt::format("Command ended with exit code {} | Command: {}{}{}", exit_code,
                                       shortened(command, LONGEST_COMMAND_IN_LOG),
                                       error_text.empty() ? "" : " | Error output: ", error_text);
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
