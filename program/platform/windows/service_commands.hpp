#pragma once

#include <program/commands/command.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <string>
#include <vector>

/// Registers, starts and stops the program as a service of Windows. Each operation returns the exit status of
/// the program and logs what it has done, or why not.
namespace zant::program::service_commands {

/// Registers the service with these settings, to be started with the system and again when it fails.
int install(const velmora_host::Settings_Sources& settings);

/// Unregisters the service, after stopping it if it runs.
int remove(const velmora_host::Settings_Sources& settings);

int start(const velmora_host::Settings_Sources& settings);

/// Returns when the service has stopped, which a cycle under way may delay.
int stop(const velmora_host::Settings_Sources& settings);

/// The command line that the service is started with.
std::string make_command_line(const std::string& program, const velmora_host::Settings_Sources& settings);

/// The command "service" with its subcommands.
std::vector<Command> make_commands();

}  // namespace zant::program::service_commands
