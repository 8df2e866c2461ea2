#pragma once

#include <zant/velmora_host/settings/settings.hpp>

#include <functional>
#include <iosfwd>
#include <optional>

namespace zant::program {

/// What the program is told to do.
enum class Command { RUN, ONCE, HOLD, RELEASE, PURGE, STATUS, PLAN, CHECK, OF_THIS_HOST };

/// A command that only this kind of host has: carries it out and returns the status to exit with.
using Host_Command = std::function<int(const velmora_host::Settings_Sources& settings)>;

struct Command_Line {
  Command command;
  bool upgrades_only = false;  ///< purge: the automatic-upgrade part only
  velmora_host::Settings_Sources settings;
  bool plan_only = false;          ///< purge: say what would be done, and do nothing
  bool json = false;               ///< reports: for a program, not for a person
  bool on_removal = false;         ///< purge: only if the settings ask for it when the program is removed
  Host_Command host_command = {};  ///< for Command::OF_THIS_HOST
};

/// Whether the command only looks and prints what it found.
inline bool is_report(const Command_Line& line) {
  return line.command == Command::STATUS || line.command == Command::PLAN || line.command == Command::CHECK ||
         line.plan_only;
}

/// The command line, or, when there is nothing left to do, the status to exit with.
struct Parsed_Command_Line {
  std::optional<Command_Line> command_line;
  int exit_status;
};

/// Reads the command line. Help and version are written to `out`, and what is wrong with it to `err`.
Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err);

}  // namespace zant::program
