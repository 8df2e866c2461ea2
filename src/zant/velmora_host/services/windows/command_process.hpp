#pragma once

#include <zant/velmora_host/services/windows/handle.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

namespace zant::velmora_host {

/// One command line under cmd.exe, from its start to its end.
///
/// Used by one thread. The object does not end the command: its owner waits for the end or calls `end_tree`.
class Command_Process {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the command.
  ///
  /// @param command      UTF-8, on one line.
  /// @param environment  see `make_command_environment`.
  /// @param output_limit how many bytes of output are kept.
  /// @throws std::system_error when it cannot be started.
  Command_Process(const std::string& command, const std::wstring& environment, std::size_t output_limit);
  ~Command_Process();
  Command_Process(const Command_Process&) = delete;
  Command_Process& operator=(const Command_Process&) = delete;

  /// Collects output until the command ends; true when it has ended, false when the deadline passed first.
  bool run_until(Clock::time_point deadline);

  /// Collects output until the command ends, however long it takes.
  void run_to_end();

  /// Ends the command with every process that it has started.
  void end_tree();

  /// As the command left it. Only after it has ended.
  int exit_code() const;

  /// What it printed, to either stream, in the order in which it came.
  const std::string& output() const noexcept { return output_; }
  bool is_truncated() const noexcept { return is_truncated_; }

 private:
  void start_reading_();
  bool finish_reading_(bool wait);
  void drain_();
  void append_(const char* data, std::size_t size);

  std::size_t output_limit_;
  Handle job_;
  Handle process_;
  Handle pipe_;
  Handle data_event_;
  OVERLAPPED reading_ = {};
  bool is_reading_ = false;
  std::array<char, 4096> buffer_ = {};
  std::string output_;
  bool is_truncated_ = false;
};

}  // namespace zant::velmora_host
