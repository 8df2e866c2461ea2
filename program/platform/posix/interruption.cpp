#include <program/platform/interruption.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <thread>

namespace zant::program {
namespace {

// Those that would end the process: one that its caller ignores, as nohup(1) does, stays ignored.
sigset_t deadly_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler == SIG_DFL) {
      ::sigaddset(&signals, number);
    }
  }
  return signals;
}

void die_of(int signal_number) {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, signal_number);
  ::raise(signal_number);
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

class Clean_Interruption::Watch {
 public:
  Watch() : signals_(deadly_signals()) {
    ::pthread_sigmask(SIG_BLOCK, &signals_, &mask_before_);
    signal_ = ::signalfd(-1, &signals_, SFD_CLOEXEC);
    if (signal_ >= 0 && ::pipe2(end_.data(), O_CLOEXEC) == 0) {
      thread_ = std::thread([this] { wait_(); });
    } else {
      // Better at once than never.
      ::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    }
  }

  ~Watch() {
    // What the thread waits for, and what cannot fail as a write can.
    ::close(end_[1]);
    if (thread_.joinable()) {
      thread_.join();
    }
    ::close(signal_);
    ::close(end_[0]);
    // One that came since has its effect now.
    ::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
  }

  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  void wait_() const {
    std::array<pollfd, 2> events = {pollfd{end_[0], POLLIN, 0}, pollfd{signal_, POLLIN, 0}};
    while (::poll(events.data(), events.size(), -1) < 0 && errno == EINTR) {
    }
    signalfd_siginfo signal{};
    if (events[0].revents == 0 && ::read(signal_, &signal, sizeof(signal)) == sizeof(signal)) {
      velmora_host::Temporary_Directory::delete_all_for_ever();
      die_of(static_cast<int>(signal.ssi_signo));
    }
  }

  sigset_t signals_;
  sigset_t mask_before_{};
  int signal_ = -1;
  std::array<int, 2> end_ = {-1, -1};
  std::thread thread_;
};

Clean_Interruption::Clean_Interruption() : watch_(std::make_unique<Watch>()) {}

Clean_Interruption::~Clean_Interruption() = default;

}  // namespace zant::program
