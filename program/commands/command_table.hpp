#pragma once

#include <program/commands/command.hpp>

#include <string>
#include <vector>

namespace zant::program {

/// Every command of the program on this system, in the order in which help shows them.
const std::vector<Command>& command_table();

/// The command of that name; null when there is none.
const Command* find_command(const std::string& name);

}  // namespace zant::program
