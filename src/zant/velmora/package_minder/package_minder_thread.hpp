#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace zant::velmora {

/// Runs the minder in the background for as long as the object lives: one cycle at once, then one after every
/// interval. A cycle that throws is logged and the next one comes as usual.
///
/// The interval counts from the end of one cycle to the start of the next; cycles never overlap. Destruction
/// ends a wait at once, lets a cycle in progress run to its end, and returns when the worker has returned.
class PACKAGE_MINDER_EXPORT Package_Minder_Thread {
 public:
  /// Starts the worker.
  ///
  /// @param minder           used by the worker alone while the object lives.
  /// @param interval_seconds capped at 3600; 0 makes the worker cycle without a pause.
  /// @throws std::system_error when the thread cannot be started.
  Package_Minder_Thread(std::shared_ptr<Package_Minder> minder, unsigned int interval_seconds);

  /// In the library, not inline: on Windows, whoever stops the worker must share the standard library's
  /// state with whoever waits in it, and each module that inlines it has its own.
  ~Package_Minder_Thread();

  Package_Minder_Thread(const Package_Minder_Thread&) = delete;
  Package_Minder_Thread& operator=(const Package_Minder_Thread&) = delete;

 private:
  void minder_thread_worker_(const std::stop_token& stop);
  void run_cycle_();
  void interruptible_wait_(const std::stop_token& stop);

  zant::logging::Source log_;
  std::shared_ptr<Package_Minder> minder_;
  std::chrono::seconds interval_;
  std::mutex mutex_;
  std::condition_variable_any wake_up_;
  // Last, so that it is joined before what it uses is gone.
  std::jthread worker_;
};

}  // namespace zant::velmora
