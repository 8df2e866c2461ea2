#include <program/dispatch.hpp>

#include <program/exit_status.hpp>
#include <program/log/log_sink.hpp>
#include <program/log/program_log.hpp>
#include <program/report_output.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/reports/monitoring.hpp>
#include <zant/velmora_host/services/privileges.hpp>

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace zant::program {
namespace {

using velmora_host::Refusal;
using velmora_host::Refusal_Reason;
using zant::logging::severity_level;

constexpr int STANDARD_ERROR = 2;

// What a report finds is in the report; its log only says why there is none, unless more is asked for.
severity_level least_severity(const Command_Line& command_line, severity_level wanted) {
  const auto& overrides = command_line.invocation.settings.overrides;
  const bool is_asked_for = std::any_of(overrides.begin(), overrides.end(), [](const auto& assignment) {
    return assignment.first == "minder.log.level";
  });
  return is_report(command_line) && !is_asked_for ? std::max(wanted, severity_level::error) : wanted;
}

void require_administrator() {
  if (!velmora_host::privileges::may_administer()) {
    throw Refusal(Refusal_Reason::NO_RIGHTS,
                  std::string("package-minder must be run by the administrator: ") +
                      velmora_host::privileges::HOW_TO_BE_ADMINISTRATOR);
  }
}

int carry_out(const Command_Line& command_line, const Service_Maker& make_services,
              std::optional<Log_Sink>& sink) {
  require_administrator();
  const Invocation& invocation = command_line.invocation;
  if (const auto* work = std::get_if<Work_Without_Settings>(&command_line.command->work)) {
    return (*work)(invocation, make_services);
  }
  const velmora_host::Settings settings(invocation.settings);
  sink.emplace(STANDARD_ERROR, settings.log_format(), least_severity(command_line, settings.log_level()));
  return std::get<Work>(command_line.command->work)(invocation, settings, make_services(settings));
}

// The log has the reason already, also why the document of a report could not be written.
int print_failure(const std::string& kind, int exit_status, const std::vector<std::string>& messages) {
  try {
    print_failure_document(kind, exit_status, messages);
    return exit_status;
  } catch (const std::runtime_error& error) {
    if (messages != std::vector<std::string>{std::string("Encountered error: ") + error.what()}) {
      log_message(severity_level::error, std::string("Encountered error: ") + error.what());
    }
    return Exit_Status::FAILED;
  }
}

// A monitoring system shows what is on standard output, and knows no other exit statuses than its own.
int print_unknown(const std::vector<std::string>& messages) {
  try {
    print(velmora_host::to_unknown_monitoring_line(boost::algorithm::join(messages, "; ")));
  } catch (const std::runtime_error&) {
    // The exit status says it too.
  }
  return static_cast<int>(velmora_host::Monitoring_State::UNKNOWN);
}

int fail(const Command_Line& command_line, int exit_status, const std::vector<std::string>& messages) {
  for (const auto& message : messages) {
    log_message(severity_level::error, message);
  }
  if (command_line.invocation.monitoring) {
    return print_unknown(messages);
  }
  if (command_line.invocation.json) {
    const Command& command = *command_line.command;
    const bool is_of_report = command.group == Command::Group::REPORTS;
    return print_failure(is_of_report ? command.name : "plan", exit_status, messages);
  }
  return exit_status;
}

}  // namespace

int dispatch(const Command_Line& command_line, const Service_Maker& make_services) {
  // Until the settings say otherwise.
  std::optional<Log_Sink> sink(std::in_place, STANDARD_ERROR, velmora_host::Log_Format::AUTO,
                               least_severity(command_line, severity_level::info));
  try {
    return carry_out(command_line, make_services, sink);
  } catch (const Refusal& refusal) {
    return fail(command_line, Exit_Status::of(refusal.reason()), refusal.messages());
  } catch (const std::exception& error) {
    return fail(command_line, Exit_Status::FAILED, {std::string("Encountered error: ") + error.what()});
  } catch (...) {
    return fail(command_line, Exit_Status::FAILED, {"Unknown error"});
  }
}

}  // namespace zant::program
