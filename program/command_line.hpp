#pragma once

#include <zant/velmora_host/settings/settings.hpp>

#include <functional>
#include <iosfwd>
#include <optional>

namespace zant::program {

/// The command that the program is told to run.
enum class Command { RUN, ONCE, HOLD, RELEASE, PURGE, STATUS, PLAN, CHECK, OF_THIS_HOST };

/// Carries out a command that only this system has; returns the exit status.
using Host_Command = std::function<int(const velmora_host::Settings_Sources& settings)>;

struct Command_Line {
  Command command;
  bool upgrades_only = false;  ///< purge: the automatic-upgrade part only
  velmora_host::Settings_Sources settings;
  bool plan_only = false;          ///< purge: only show what would be undone
  bool json = false;               ///< reports: print JSON
  bool on_removal = false;         ///< purge: only if the settings ask for it when the program is removed
  Host_Command host_command = {};  ///< for Command::OF_THIS_HOST
};

/// Whether the command prints a report and changes nothing.
inline bool is_report(const Command_Line& line) {
  return line.command == Command::STATUS || line.command == Command::PLAN || line.command == Command::CHECK ||
         line.plan_only;
}

/// The command line, or the exit status when there is nothing left to do.
struct Parsed_Command_Line {
  std::optional<Command_Line> command_line;
  int exit_status;
};

/// Reads the command line. Help and version are written to `out`, errors to `err`.
Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err);

}  // namespace zant::program
