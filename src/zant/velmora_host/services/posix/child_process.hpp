#pragma once

#include <zant/velmora_host/services/posix/captured_stream.hpp>
#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// One command line under bash, from its start until its exit status has been collected.
///
/// Used by one thread. The object does not end the child: its owner waits for the end or calls `end_group`.
class Child_Process {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the command.
  ///
  /// @param environment "NAME=value" each; all that the command gets.
  /// @throws std::system_error when it cannot be started.
  Child_Process(const std::string& command, const std::vector<std::string>& environment,
                std::size_t output_limit);

  /// Collects output until the child ends; true when it has ended, false when the deadline passed first.
  bool run_until(Clock::time_point deadline);

  /// Collects output until the child ends, however long it takes.
  void run_to_end();

  /// Ends the child and its whole process group: TERM, and KILL for what is left after `grace`. Returns when
  /// the child has ended. Only for a child whose status has not been collected.
  void end_group(std::chrono::milliseconds grace);

  /// Collects the exit status: the child's own, or 128 and the number of the signal that it died of. Nothing
  /// when the kernel no longer has it. Once, and only after the child has ended.
  std::optional<int> collect_exit_status();

  const Captured_Stream& output() const noexcept { return output_; }
  const Captured_Stream& error_output() const noexcept { return error_output_; }

 private:
  bool wait_(Clock::time_point deadline, bool for_closed_streams);
  void wait_for_event_(Clock::time_point deadline);
  void notice_end_();
  void signal_group_(int signal_number) const;

  Captured_Stream output_;
  Captured_Stream error_output_;
  pid_t pid_ = -1;
  File_Descriptor end_event_;  // readable when the child has ended; closed where the kernel has no such thing
  bool has_ended_ = false;
};

}  // namespace zant::velmora_host
