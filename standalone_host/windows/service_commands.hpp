#pragma once

#include <standalone_host/settings/settings.hpp>

/// The program as a service of Windows, in the service manager's books. Each operation returns the exit
/// status of the program and tells what it has done, or why not, through the log.
namespace zant::velmora::standalone_host::Service_Commands {

/// Registers the service with these settings, to be started with the system and again when it fails.
int install(const Settings_Sources& settings);

/// Takes the service out of the books; a running one ends first.
int remove(const Settings_Sources& settings);

int start(const Settings_Sources& settings);

/// Returns when the service has stopped, which a cycle under way may delay.
int stop(const Settings_Sources& settings);

/// The command line that the service is started with.
std::string make_command_line(const std::string& program, const Settings_Sources& settings);

}  // namespace zant::velmora::standalone_host::Service_Commands
