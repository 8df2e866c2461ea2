#pragma once

#include <standalone_host/command_line.hpp>
#include <standalone_host/platform/package_factory.hpp>
#include <standalone_host/settings/settings.hpp>

#include <string>
#include <vector>

/// The commands that only look: each prints its report to standard output and returns the status to exit
/// with.
namespace zant::velmora::standalone_host::Report_Commands {

int status(const Command_Line& command_line, const Settings& settings, const Host_Services& services);

/// For "plan", and for "purge --plan".
int plan(const Command_Line& command_line, const Settings& settings, const Host_Services& services);

/// Judges the settings too, so it is given where they come from.
///
/// @throws Refusal when the settings file cannot be read.
int check(const Command_Line& command_line);

/// Prints why there is no report, for those who asked for one in JSON; else nothing.
void print_failure(const Command_Line& command_line, int exit_status,
                   const std::vector<std::string>& messages);

}  // namespace zant::velmora::standalone_host::Report_Commands
