#include <program/command_line.hpp>
#include <program/commands.hpp>
#include <program/exit_status.hpp>
#include <program/log/log_sink.hpp>
#include <program/platform/platform.hpp>
#include <program/platform/process_setup.hpp>
#include <program/report_commands.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/logging/source.hpp>

#include <boost/nowide/args.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

using zant::logging::severity_level;

constexpr int STANDARD_ERROR = 2;

void log_failure(const std::string& message) {
  zant::logging::Source log;
  log.init_("package-minder", "");
  ZANT_LOG(log, severity_level::error) << message;
}

int fail(const Command_Line& command_line, int exit_status, const std::vector<std::string>& messages) {
  for (const auto& message : messages) {
    log_failure(message);
  }
  report_commands::print_failure(command_line, exit_status, messages);
  return exit_status;
}

// Logs every failure, whatever its type.
template <typename Work>
int run_guarded(const Command_Line& command_line, Work work) {
  try {
    return work();
  } catch (const velmora_host::Refusal& refusal) {
    return fail(command_line, Exit_Status::of(refusal.reason()), refusal.messages());
  } catch (const std::exception& error) {
    return fail(command_line, Exit_Status::FAILED, {std::string("Encountered error: ") + error.what()});
  } catch (...) {
    return fail(command_line, Exit_Status::FAILED, {"Unknown error"});
  }
}

// A report holds its own findings: by default its log only says why there is no report.
severity_level least_severity(const Command_Line& command_line, severity_level wanted) {
  const auto& overrides = command_line.settings.overrides;
  const bool is_asked_for = std::any_of(overrides.begin(), overrides.end(), [](const auto& assignment) {
    return assignment.first == "minder.log.level";
  });
  return is_report(command_line) && !is_asked_for ? std::max(wanted, severity_level::error) : wanted;
}

int run_program(const Command_Line& command_line) {
  // Until the settings are read.
  std::optional<Log_Sink> sink(std::in_place, STANDARD_ERROR, velmora_host::Log_Format::AUTO,
                               least_severity(command_line, severity_level::info));
  return run_guarded(command_line, [&] {
    if (!velmora_host::privileges::may_administer()) {
      throw velmora_host::Refusal(velmora_host::Refusal_Reason::NO_RIGHTS,
                                  std::string("package-minder must be run by the administrator: ") +
                                      velmora_host::privileges::HOW_TO_BE_ADMINISTRATOR);
    }
    if (command_line.command == Command::CHECK) {
      return report_commands::check(command_line);
    }
    const velmora_host::Settings settings(command_line.settings);
    sink.emplace(STANDARD_ERROR, settings.log_format(), least_severity(command_line, settings.log_level()));
    return carry_out(command_line, settings, velmora_host::make_host_services(settings));
  });
}

}  // namespace
}  // namespace zant::program

int main(int argc, char** argv) {
  using namespace zant::program;  // NOLINT(google-build-using-namespace): main has no
                                  // namespace
  set_up_process();
  const boost::nowide::args utf8_arguments(argc, argv);
  const auto parsed = parse_command_line(argc, argv, std::cout, std::cerr);
  if (!parsed.command_line) {
    return parsed.exit_status;
  }
  const auto work = [&parsed] { return run_program(*parsed.command_line); };
  return parsed.command_line->command == Command::RUN ? run_as_service(work) : work();
}
