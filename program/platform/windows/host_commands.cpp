#include <program/platform/host_commands.hpp>

#include <program/platform/windows/service_commands.hpp>

#include <CLI/App.hpp>

namespace zant::program {

// They look at the files, units and timers of a Linux host.
bool offers_reports() {
  return false;
}

std::vector<const CLI::App*> add_host_commands(CLI::App& app, Host_Command& chosen) {
  CLI::App* const service = app.add_subcommand("service", "The program as a service of this system");
  service->require_subcommand(1);
  const auto add = [service, &chosen](const char* name, const char* description, Host_Command command) {
    service->add_subcommand(name, description)->callback([&chosen, command] { chosen = command; });
  };
  add("install", "Register the service, with the settings file and the settings of this command line",
      service_commands::install);
  add("remove", "Stop the service if it runs, and take it out again", service_commands::remove);
  add("start", "Start the service", service_commands::start);
  add("stop", "Stop the service, after the cycle under way", service_commands::stop);
  return {service};
}

}  // namespace zant::program
