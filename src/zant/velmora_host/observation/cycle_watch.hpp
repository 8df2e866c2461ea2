#pragma once

#include <zant/velmora_host/families/command_traits.hpp>

#include <chrono>
#include <mutex>

namespace zant::velmora_host {

/// Knows whether the worker is getting on: it may wait as long as its interval is, and a command may take as
/// long as its time limit allows, an installation as long as it likes. Safe to call from several threads.
class Cycle_Watch {
 public:
  using Clock = std::chrono::steady_clock;

  /// @param interval between cycles.
  /// @param command_limit after which a command has been ended.
  Cycle_Watch(std::chrono::seconds interval, std::chrono::seconds command_limit,
              Clock::time_point now = Clock::now());

  void note_cycle_begin(Clock::time_point now = Clock::now()) { note_(Doing::WORKING, now); }
  void note_cycle_end(Clock::time_point now = Clock::now()) { note_(Doing::WAITING, now); }
  void note_command_begin(Command_Kind kind, Clock::time_point now = Clock::now());
  void note_command_end(Clock::time_point now = Clock::now()) { note_(Doing::WORKING, now); }

  /// False when the worker has been at the same thing for longer than it can be.
  bool is_alive(Clock::time_point now = Clock::now()) const;

 private:
  enum class Doing { WAITING, WORKING, COMMAND, INSTALLATION };

  void note_(Doing doing, Clock::time_point now);

  std::chrono::seconds interval_;
  std::chrono::seconds command_limit_;
  mutable std::mutex mutex_;
  Doing doing_ = Doing::WORKING;
  Clock::time_point since_;
};

}  // namespace zant::velmora_host
