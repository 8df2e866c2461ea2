#pragma once

#include <zant/velmora/export.hpp>

#include <string>

namespace zant::velmora {

/// What a finished command left.
struct Command_Result {
  std::string output;  ///< the text that the command printed
  int exit_code;       ///< the command's exit status; 0 means success
};

/// Named values for the flag of `System::run_command`.
namespace Run_Flag {
inline constexpr bool WAIT_AND_CAPTURE = true;  ///< wait for the command's end and return what it printed
}  // namespace Run_Flag

/// The command service that the host application supplies: the library's only way to run anything.
///
/// Owned by the host through a shared pointer, of which the library's objects keep copies. Called from
/// whichever thread runs the library's operation (the host's own or the minding thread), so an implementation
/// is safe to call from several threads. An exception that an implementation throws passes through the
/// library to the library's caller.
class PACKAGE_MINDER_EXPORT System {
 public:
  virtual ~System() = default;

  /// Runs a command line to completion and returns what it printed and its exit status. Blocks until the
  /// command ends.
  ///
  /// The lines use shell syntax that needs bash on POSIX hosts (pipes, `&&`, `&>`, command substitution) and
  /// cmd.exe on Windows. A command that could not be run at all is reported with a non-zero exit code.
  ///
  /// @param flag always Run_Flag::WAIT_AND_CAPTURE when the library calls; a host may give other values a
  ///             meaning of its own.
  virtual Command_Result run_command(const std::string& command, bool flag) = 0;
};

}  // namespace zant::velmora
