#include <program/platform/stop_signals.hpp>

#include <pthread.h>
#include <signal.h>

namespace zant::program {
namespace {

// A closed terminal is a request like the others: a cycle under way must not be cut.
sigset_t stop_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGHUP);
  return signals;
}

const char* name_of(int signal_number) {
  switch (signal_number) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    default:
      return "SIGHUP";
  }
}

}  // namespace

Stop_Signals::Stop_Signals() {
  const sigset_t signals = stop_signals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

const char* Stop_Signals::wait() {
  const sigset_t signals = stop_signals();
  int signal_number = 0;
  while (::sigwait(&signals, &signal_number) != 0) {
  }
  return name_of(signal_number);
}

const char* Stop_Signals::wait_for(std::chrono::milliseconds time) {
  const sigset_t signals = stop_signals();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const timespec limit = {seconds.count(), std::chrono::nanoseconds(time - seconds).count()};
  // An interruption by another signal only shortens the wait.
  const int signal_number = ::sigtimedwait(&signals, nullptr, &limit);
  return signal_number > 0 ? name_of(signal_number) : nullptr;
}

}  // namespace zant::program
