#pragma once

#include <standalone_host/settings.hpp>

#include <iosfwd>
#include <optional>

namespace zant::velmora::standalone_host {

/// What the program is told to do.
enum class Command { RUN, ONCE, HOLD, RELEASE, PURGE };

struct Command_Line {
  Command command;
  bool upgrades_only = false;  ///< purge: the automatic-upgrade part only
  Settings_Sources settings;
};

/// The command line, or, when there is nothing left to do, the status to exit with.
struct Parsed_Command_Line {
  std::optional<Command_Line> command_line;
  int exit_status;
};

/// Reads the command line. Help and version are written to `out`, and what is wrong with it to `err`.
Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err);

}  // namespace zant::velmora::standalone_host
