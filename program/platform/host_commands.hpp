#pragma once

#include <program/command_line.hpp>

#include <vector>

namespace CLI {
class App;
}

namespace zant::program {

/// Whether there are reports about this kind of host: status, plan and check.
bool offers_reports();

/// Adds the commands that only this kind of host has to the command line, and returns them. Reading one of
/// them puts what it does into `chosen`.
std::vector<const CLI::App*> add_host_commands(CLI::App& app, Host_Command& chosen);

}  // namespace zant::program
