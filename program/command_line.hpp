#pragma once

#include <program/commands/command.hpp>
#include <program/invocation.hpp>

#include <iosfwd>
#include <optional>

namespace zant::program {

/// A command, and what it is told.
struct Command_Line {
  const Command* command;  ///< of the table
  Invocation invocation;
};

/// Whether the command only looks and prints what it found.
bool is_report(const Command_Line& line);

/// The command line, or, when there is nothing left to do, the status to exit with.
struct Parsed_Command_Line {
  std::optional<Command_Line> command_line;
  int exit_status;
};

/// Reads the command line. Help and version are written to `out`, and what is wrong with it to `err`.
Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err);

}  // namespace zant::program
