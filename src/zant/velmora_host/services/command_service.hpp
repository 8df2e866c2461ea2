#pragma once

#include <zant/velmora_host/export.hpp>

#include <zant/velmora_host/services/interruptible_system.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace zant::velmora_host {

/// Exit codes of `Command_Service::run_command` that are not the command's own; those of the shell and of
/// timeout(1) where they have one.
namespace Exit_Code {
inline constexpr int TIME_LIMIT = 124;   ///< the command did not end in time and was ended
inline constexpr int STATUS_LOST = 125;  ///< the command ended, but its exit status is lost; never on Windows
inline constexpr int NOT_STARTED = 126;  ///< the command could not be started
inline constexpr int SIGNAL_BASE = 128;  ///< plus the number of the signal that ended it; never on Windows
}  // namespace Exit_Code

/// The command service of the operating system that it is built for: runs command lines through bash on a
/// POSIX host, through cmd.exe on Windows.
///
/// Every command gets the same surroundings, whatever process runs it: an empty standard input, no terminal
/// or window, and no descriptor or handle of the calling process but its own streams. A command is done when
/// its shell is, even if a process that it left behind keeps its output open. A command that takes longer
/// than the time limit is ended with the processes that it started, unless `Options::runs_to_its_end` forbids
/// it; its exit code is then `Exit_Code::TIME_LIMIT`, whatever it ended with itself.
///
/// No failure is thrown: a command that cannot be started, or whose exit status is lost, has a non-zero exit
/// code, and the reason is logged. The log channel is "Command_Service".
///
/// Safe to call from several threads at once.
///
/// On a POSIX host:
/// - A command gets a session and process group of its own, the working directory "/", default signal
///   dispositions, an empty signal mask, and an environment built from scratch (see `Options::environment`).
///   Pipelines have the exit status of their last command.
/// - Standard output is returned. Standard error is logged with the command: as a warning when the command
///   failed, else at the debug level.
/// - A command beyond the time limit gets TERM and, after the kill delay, KILL, both for its whole process
///   group. A process that a finished command left behind finds a broken pipe when it writes later.
/// - The cost of starting a command does not grow with the size of the calling process.
/// - The calling process must not ignore SIGCHLD, nor reap children that it does not know: the exit status
///   would be lost, which is reported as a failure.
///
/// On Windows:
/// - The line reaches cmd.exe unchanged: quoted paths may hold blanks and parentheses; `&`, `|` and `^`
///   outside of quotes, and `%NAME%` everywhere, mean what they mean to cmd.exe. A command is UTF-8 and one
///   line; one with a line break or a zero byte is not started.
/// - The working directory is the Windows directory.
/// - Standard output and standard error are returned in one text, in the order in which they came, as UTF-8.
///   When the command fails, that text is also logged, as a warning with the command.
/// - The exit code is the command's own, as a signed number.
/// - A command beyond the time limit is ended at once.
class PACKAGE_MINDER_HOST_EXPORT Command_Service : public Interruptible_System {
 public:
  struct Options {
    /// How long a command may take.
    std::chrono::milliseconds time_limit = std::chrono::minutes(30);

    /// How long a command that got TERM may take to end before it gets KILL. Windows has no such request and
    /// does not use it.
    std::chrono::milliseconds kill_delay = std::chrono::seconds(10);

    /// How many bytes of output are returned at most; the rest is dropped, with a warning.
    std::size_t output_limit = std::size_t{16} * 1024 * 1024;

    /// Variables for every command. They win over those that a command gets anyway: on a POSIX host PATH
    /// (with the directories for administration), HOME, LANG, LC_ALL (C.UTF-8) and, from the calling process,
    /// TZ and the variables that name proxies; on Windows the environment of the calling process.
    std::map<std::string, std::string> environment = {};

    /// Whether a command line must never be ended by the time limit, because ending it would do harm: a
    /// package manager that is killed leaves the host half configured. Asked once the time limit has passed,
    /// from the thread that runs the command. Empty: every command may be ended.
    std::function<bool(const std::string& command_line)> runs_to_its_end = {};
  };

  explicit Command_Service(Options options);
  ~Command_Service() override;
  Command_Service(const Command_Service&) = delete;
  Command_Service& operator=(const Command_Service&) = delete;

  /// @param flag has no meaning here: every command is waited for, and its output returned.
  velmora::Command_Result run_command(const std::string& command, bool flag) override;

  /// What the command says of a failure is logged at the debug level only: whoever bounds a question judges
  /// its answer. A command that is given up has half a second to end itself; `runs_to_its_end` has no say.
  velmora::Command_Result run_command_within(const std::string& command,
                                             const Command_Bounds& bounds) override;

 private:
  class Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace zant::velmora_host
