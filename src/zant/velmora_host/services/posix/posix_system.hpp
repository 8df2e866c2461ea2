#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/host/system.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace zant::velmora_host {

class Child_Process;

/// Exit codes of `Posix_System::run_command` that are not the command's own; those of the shell and of
/// timeout(1) where they have one.
namespace Exit_Code {
inline constexpr int TIME_LIMIT = 124;   ///< the command did not end in time and was ended
inline constexpr int STATUS_LOST = 125;  ///< the command ended, but nobody can say how
inline constexpr int NOT_STARTED = 127;  ///< the command could not be started
inline constexpr int SIGNAL_BASE = 128;  ///< plus the number of the signal that the command died of
}  // namespace Exit_Code

/// The command service of a POSIX host: runs command lines through bash.
///
/// Every command gets the same surroundings, whatever process asks for it: a session and process group of its
/// own without a terminal, /dev/null as standard input, the working directory "/", default signal
/// dispositions and an empty signal mask, no descriptor of the calling process, and an environment built from
/// scratch (see `Options::environment`). Pipelines are judged by their last command, as the library's lines
/// expect.
///
/// A command is done when its shell is, even if something that it left behind keeps its output open; such a
/// process finds a broken pipe when it writes later. A command that takes longer than the time limit gets
/// TERM and, after the kill delay, KILL, both for its whole process group; but a command that installs or
/// removes packages is left to run to its end, because a killed package manager leaves the host half
/// configured.
///
/// Standard output is returned. Standard error goes to the log, under the channel "Posix_System": as a
/// warning with the command when it failed, else at the debug level. No failure is thrown: a command that
/// cannot be started, or whose exit status is lost, has a non-zero exit code and its reason in the log.
///
/// Safe to call from several threads at once. The cost of starting a command does not grow with the size of
/// the calling process. The calling process must not ignore SIGCHLD, nor reap children that it does not know:
/// the exit status would be lost, which is reported as a failure.
class Posix_System : public velmora::System {
 public:
  struct Options {
    /// How long a command may take.
    std::chrono::milliseconds time_limit = std::chrono::minutes(30);

    /// How long a command that got TERM may take to end before it gets KILL.
    std::chrono::milliseconds kill_delay = std::chrono::seconds(10);

    /// How many bytes of standard output are returned at most; what goes beyond is dropped, with a warning.
    std::size_t output_limit = std::size_t{16} * 1024 * 1024;

    /// Variables for every command, beside PATH (with the directories for administration), HOME, LANG, LC_ALL
    /// (C.UTF-8) and, from the calling process, TZ and what names its proxies.
    std::map<std::string, std::string> environment = {};
  };

  explicit Posix_System(Options options);

  /// @param flag has no meaning here: every command is waited for, and its output returned.
  velmora::Command_Result run_command(const std::string& command, bool flag) override;

 private:
  int supervise_(Child_Process& child, const std::string& command);
  int end_(Child_Process& child, const std::string& command);
  int reap_(Child_Process& child, const std::string& command);
  void log_outcome_(const Child_Process& child, const std::string& command, int exit_code);

  zant::logging::Source log_;
  Options options_;
  std::vector<std::string> environment_;
};

}  // namespace zant::velmora_host
