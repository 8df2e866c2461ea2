#include <standalone_host/command_line.hpp>
#include <standalone_host/commands.hpp>
#include <standalone_host/exit_status.hpp>
#include <standalone_host/log_sink.hpp>
#include <standalone_host/package_factory.hpp>
#include <standalone_host/privileges.hpp>
#include <standalone_host/process_setup.hpp>
#include <standalone_host/refusal.hpp>
#include <standalone_host/settings.hpp>

#include <zant/logging/source.hpp>

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

namespace zant::velmora::standalone_host {
namespace {

using zant::logging::severity_level;

constexpr int STANDARD_ERROR = 2;

void log_failure(const std::string& message) {
  zant::logging::Source log;
  log.init_("package-minder", "");
  ZANT_LOG(log, severity_level::error) << message;
}

// What goes wrong is told through the log, whatever it is.
template <typename Work>
int run_guarded(Work work) {
  try {
    return work();
  } catch (const Refusal& refusal) {
    for (const auto& message : refusal.messages()) {
      log_failure(message);
    }
    return refusal.exit_status();
  } catch (const std::exception& error) {
    log_failure(std::string("Encountered error: ") + error.what());
  } catch (...) {
    log_failure("Encountered an error that says nothing of itself");
  }
  return Exit_Status::FAILED;
}

int run_program(const Command_Line& command_line) {
  // Until the settings say otherwise.
  std::optional<Log_Sink> sink(std::in_place, STANDARD_ERROR, Log_Format::AUTO, severity_level::info);
  return run_guarded([&] {
    if (!Privileges::may_administer()) {
      throw Refusal(Exit_Status::NO_RIGHTS, "the package management of this host is root's: run it as root");
    }
    const Settings settings(command_line.settings);
    sink.emplace(STANDARD_ERROR, settings.log_format(), settings.log_level());
    return carry_out(command_line, settings, make_host_services(settings));
  });
}

}  // namespace
}  // namespace zant::velmora::standalone_host

int main(int argc, char** argv) {
  using namespace zant::velmora::standalone_host;  // NOLINT(google-build-using-namespace): main has no
                                                   // namespace
  set_up_process();
  const auto parsed = parse_command_line(argc, argv, std::cout, std::cerr);
  return parsed.command_line ? run_program(*parsed.command_line) : parsed.exit_status;
}
