#pragma once

#include <zant/velmora_host/observation/stalled_installation.hpp>

#include <zant/logging/source.hpp>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace zant::velmora_host {

/// Looks after an installation while it lives. A package manager that works is never ended, for that would
/// leave the host half configured; one that makes no progress is told of instead, in the log and to a
/// listener, and when it gets on again or ends, the listener is told that, too.
class Installation_Watch {
 public:
  /// Another text whenever the installation has left a trace. Called on the watch's own thread, as is the
  /// listener; both may throw, which the log tells of.
  using Trace = std::function<std::string()>;

  /// Nothing: it gets on again, or has ended.
  using Listener = std::function<void(const std::optional<Stalled_Installation>& stalled)>;

  /// Without a thread to watch on, the log tells of that, and the installation is not looked after.
  ///
  /// @param limit how long it may leave no trace; looked at twelve times in that time, for the first time
  /// when
  ///     a twelfth of it has passed.
  Installation_Watch(std::string command, Trace trace, Listener listener,
                     std::chrono::milliseconds limit = std::chrono::hours(1));

  /// The installation has ended.
  ~Installation_Watch();
  Installation_Watch(const Installation_Watch&) = delete;
  Installation_Watch& operator=(const Installation_Watch&) = delete;

 private:
  using Clock = std::chrono::steady_clock;

  void work_(const std::stop_token& stop);
  void look_();
  void tell_(const std::optional<Stalled_Installation>& stalled);

  zant::logging::Source log_;
  const std::string command_;
  const Trace trace_;
  const Listener listener_;
  const std::chrono::milliseconds limit_;

  // Of the watch's thread.
  std::string last_trace_;
  Clock::time_point last_progress_ = Clock::now();
  bool is_told_ = false;

  std::mutex mutex_;
  std::condition_variable_any ended_;

  // Last, so that it is joined before what it uses is gone.
  std::jthread thread_;
};

}  // namespace zant::velmora_host
