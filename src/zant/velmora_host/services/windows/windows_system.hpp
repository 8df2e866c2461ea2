#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/host/system.hpp>

#include <chrono>
#include <cstddef>
#include <string>

namespace zant::velmora_host {

class Command_Process;

/// Exit codes of `Windows_System::run_command` that are not the command's own; as on POSIX hosts.
namespace Exit_Code {
inline constexpr int TIME_LIMIT = 124;   ///< the command did not end in time and was ended
inline constexpr int NOT_STARTED = 127;  ///< the command could not be started
}  // namespace Exit_Code

/// The command service of a Windows host: runs command lines through cmd.exe.
///
/// The line reaches cmd.exe as it is: quoted paths may hold blanks and parentheses, and `&`, `|`, `^` and
/// `%NAME%` mean outside of quotes, and `%NAME%` inside them too, what they mean to cmd.exe. Commands are
/// UTF-8 and one line. Every command gets NUL as standard input, the Windows directory as its working
/// directory, no window, the environment of the calling process, and no other handle of it than its streams.
///
/// Standard output and standard error are returned in one text, in the order in which they came, as UTF-8.
/// When a command fails, that text also goes to the log under the channel "Windows_System", as a warning with
/// the command. The exit code is the command's own, as a signed number.
///
/// A command is done when its shell is, even if something that it left behind keeps its output open. A
/// command that takes longer than the time limit is ended at once with every process that it has started. No
/// failure is thrown: a command that cannot be started has a non-zero exit code and its reason in the log.
///
/// Safe to call from several threads at once.
class Windows_System : public velmora::System {
 public:
  struct Options {
    /// How long a command may take.
    std::chrono::milliseconds time_limit = std::chrono::minutes(30);

    /// How many bytes of output are returned at most; what goes beyond is dropped, with a warning.
    std::size_t output_limit = std::size_t{16} * 1024 * 1024;
  };

  explicit Windows_System(const Options& options);

  /// @param flag has no meaning here: every command is waited for, and its output returned.
  velmora::Command_Result run_command(const std::string& command, bool flag) override;

 private:
  int supervise_(Command_Process& process, const std::string& command);
  void log_outcome_(const Command_Process& process, const std::string& command,
                    const velmora::Command_Result& result);

  zant::logging::Source log_;
  Options options_;
};

}  // namespace zant::velmora_host
