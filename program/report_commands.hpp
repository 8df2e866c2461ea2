#pragma once

#include <program/command_line.hpp>
#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <string>
#include <vector>

/// The reporting commands: each prints its report to standard output and returns the exit status.
namespace zant::program::report_commands {

int status(const Command_Line& command_line, const velmora_host::Settings& settings,
           const velmora_host::Host_Services& services);

/// For "plan", and for "purge --plan".
int plan(const Command_Line& command_line, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services);

/// Takes the sources of the settings, because it reports their faults, too.
///
/// @throws Refusal when the settings file cannot be read.
int check(const Command_Line& command_line);

/// With --json, prints why there is no report.
void print_failure(const Command_Line& command_line, int exit_status,
                   const std::vector<std::string>& messages);

}  // namespace zant::program::report_commands
