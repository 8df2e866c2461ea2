#include <support/thread_seams.hpp>

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <memory>
#include <thread>
#include <utility>

namespace zant::velmora::test_support {
namespace {

std::atomic<Thread_Seams*> current = nullptr;

}  // namespace

/// What the calls that the linker redirects here do with the seams.
class Thread_Seams::Calls {
 public:
  /// Notes a timed wait; false when the wait is to end at once.
  static bool may_wait_until(const timespec& deadline) {
    Thread_Seams* seams = current;
    if (seams == nullptr) {
      return true;
    }
    const std::lock_guard lock(seams->mutex_);
    seams->deadlines_.emplace_back(std::chrono::seconds(deadline.tv_sec) +
                                   std::chrono::nanoseconds(deadline.tv_nsec));
    seams->wait_began_.notify_all();
    return !std::exchange(seams->wakes_up_spuriously_, false);
  }

  static bool may_lock(const pthread_mutex_t* mutex) {
    const Thread_Seams* seams = current;
    return seams == nullptr || !seams->locks_fail_ || !watches_(*seams, mutex);
  }

  static void note_held(const pthread_mutex_t* mutex, bool held) {
    if (Thread_Seams* seams = current; seams != nullptr && watches_(*seams, mutex)) {
      seams->held_ = held;
    }
  }

  static void before_start() {
    if (const Thread_Seams* seams = current) {
      seams->before_start();
    }
  }

  static void at_start() {
    if (const Thread_Seams* seams = current) {
      seams->at_start();
    }
  }

  static void before_join() {
    if (const Thread_Seams* seams = current) {
      seams->before_join();
    }
  }

 private:
  static bool watches_(const Thread_Seams& seams, const pthread_mutex_t* mutex) {
    const auto* address = reinterpret_cast<const std::byte*>(mutex);
    return seams.watched_begin_ <= address && address < seams.watched_end_;
  }
};

Thread_Seams::Thread_Seams() {
  current = this;
}

Thread_Seams::~Thread_Seams() {
  current = nullptr;
}

std::vector<Thread_Seams::Time_Point> Thread_Seams::deadlines() const {
  const std::lock_guard lock(mutex_);
  return deadlines_;
}

Thread_Seams::Time_Point Thread_Seams::wait_for_timed_wait(std::size_t count) const {
  std::unique_lock lock(mutex_);
  wait_began_.wait(lock, [this, count] { return deadlines_.size() >= count; });
  return deadlines_[count - 1];
}

void Thread_Seams::wake_up_spuriously_once() {
  const std::lock_guard lock(mutex_);
  wakes_up_spuriously_ = true;
}

void Thread_Seams::watch_mutex_of(const void* object, std::size_t size) {
  watched_begin_ = static_cast<const std::byte*>(object);
  watched_end_ = watched_begin_ + size;
}

bool Thread_Seams::watched_mutex_is_held() const {
  return held_;
}

void Thread_Seams::fail_locks_of_watched_mutex() {
  locks_fail_ = true;
}

namespace {

class State_With_Seam : public std::thread::_State {
 public:
  explicit State_With_Seam(std::thread::_State_ptr inner) : inner_(std::move(inner)) {}

  void _M_run() override {
    Thread_Seams::Calls::at_start();
    inner_->_M_run();
  }

 private:
  std::thread::_State_ptr inner_;
};

}  // namespace
}  // namespace zant::velmora::test_support

// The names are the linker's: a call of NAME goes to __wrap_NAME, and __real_NAME is what it went to before.
using zant::velmora::test_support::State_With_Seam;
using Calls = zant::velmora::test_support::Thread_Seams::Calls;

extern "C" {

int __real_pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline) {
  return Calls::may_wait_until(*deadline) ? __real_pthread_cond_clockwait(condition, mutex, clock, deadline)
                                          : 0;
}

int __real_pthread_mutex_lock(pthread_mutex_t*) noexcept;
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  if (!Calls::may_lock(mutex)) {
    return EINVAL;
  }
  const int result = __real_pthread_mutex_lock(mutex);
  Calls::note_held(mutex, true);
  return result;
}

int __real_pthread_mutex_unlock(pthread_mutex_t*) noexcept;
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  Calls::note_held(mutex, false);
  return __real_pthread_mutex_unlock(mutex);
}

// std::thread::join()
void __real__ZNSt6thread4joinEv(std::thread*);
void __wrap__ZNSt6thread4joinEv(std::thread* thread) {
  Calls::before_join();
  __real__ZNSt6thread4joinEv(thread);
}

// std::thread::_M_start_thread(std::unique_ptr<std::thread::_State>, void (*)())
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    std::thread*, std::thread::_State_ptr, void (*)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    std::thread* thread, std::thread::_State_ptr state, void (*depend)()) {
  Calls::before_start();
  __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
      thread, std::make_unique<State_With_Seam>(std::move(state)), depend);
}

}  // extern "C"
