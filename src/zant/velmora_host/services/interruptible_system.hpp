#pragma once

#include <zant/velmora_host/export.hpp>

#include <zant/velmora/host/system.hpp>

#include <chrono>
#include <functional>
#include <string>

namespace zant::velmora_host {

/// How long whoever asks waits for a command.
struct Command_Bounds {
  std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();

  /// Asked several times a second, on the thread that runs the command, while one runs. Empty: it is not
  /// given up before the deadline.
  std::function<bool()> is_given_up = {};
};

/// A command service that can give a command up: for questions, whose end may not wait for the answer. Never
/// for a command that changes the host.
class PACKAGE_MINDER_HOST_EXPORT Interruptible_System : public velmora::System {
 public:
  /// As `run_command`. A command that is given up is ended with the processes that it started; its exit code
  /// is then `Exit_Code::TIME_LIMIT`.
  virtual velmora::Command_Result run_command_within(const std::string& command,
                                                     const Command_Bounds& bounds) = 0;
};

}  // namespace zant::velmora_host
