#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace zant::velmora::test_support {

/// Lays open what happens between a thread and the system below it, which no double can stand in for: that a
/// thread starts and is joined, how long it means to wait, and whether a mutex of an object is held.
///
/// The linker puts the seams around the standard library's calls in a program that links
/// package_minder_thread_seams; all calls go through unless an object of this class says otherwise. One
/// object at a time; the actions are set before the thread runs that they concern.
class Thread_Seams {
 public:
  using Time_Point = std::chrono::steady_clock::time_point;

  Thread_Seams();
  ~Thread_Seams();
  Thread_Seams(const Thread_Seams&) = delete;
  Thread_Seams& operator=(const Thread_Seams&) = delete;

  /// On the creating thread, before a thread is started. One that throws is a start that fails.
  std::function<void()> before_start = [] {};

  /// On the new thread, before what it is to run.
  std::function<void()> at_start = [] {};

  /// On the joining thread, before it joins. A std::jthread that is destroyed has been told to stop by then.
  std::function<void()> before_join = [] {};

  /// Until when the timed waits so far were to last, in order.
  std::vector<Time_Point> deadlines() const;

  /// Blocks until that many timed waits have begun; returns until when the last of those was to last.
  Time_Point wait_for_timed_wait(std::size_t count) const;

  /// The next timed wait ends at once, before its deadline and with nobody having notified it.
  void wake_up_spuriously_once();

  /// Watches the mutex that is a member of this object.
  void watch_mutex_of(const void* object, std::size_t size);

  /// Whether the watched mutex is held.
  bool watched_mutex_is_held() const;

  /// Locking the watched mutex fails from now on.
  void fail_locks_of_watched_mutex();

  class Calls;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable wait_began_;
  std::vector<Time_Point> deadlines_;
  bool wakes_up_spuriously_ = false;
  const std::byte* watched_begin_ = nullptr;
  const std::byte* watched_end_ = nullptr;
  bool locks_fail_ = false;
  bool held_ = false;
};

}  // namespace zant::velmora::test_support
