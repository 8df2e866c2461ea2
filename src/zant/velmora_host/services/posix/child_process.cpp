#include <zant/velmora_host/services/posix/child_process.hpp>

#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zant::velmora_host {
namespace {

constexpr const char* SHELL = "/bin/bash";
constexpr const char* WORKING_DIRECTORY = "/";

// Enough for the reason of a failure; package managers put it last.
constexpr std::size_t ERROR_OUTPUT_LIMIT = 4096;

// How often a kernel or a sandbox without process descriptors is asked whether the child has ended.
constexpr std::chrono::milliseconds END_CHECK_INTERVAL(10);

void check_spawn_step(int error_number) {
  if (error_number != 0) {
    throw_system_error("cannot prepare the command", error_number);
  }
}

// What happens in the child between its start and the shell's.
class Spawn_Actions {
 public:
  Spawn_Actions(int output, int error_output) {
    check_spawn_step(::posix_spawn_file_actions_init(&actions_));
    check_spawn_step(::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    check_spawn_step(::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
    check_spawn_step(::posix_spawn_file_actions_adddup2(&actions_, error_output, STDERR_FILENO));
    // The command inherits nothing else that the calling process has open: no socket and no lock.
    check_spawn_step(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
    check_spawn_step(::posix_spawn_file_actions_addchdir_np(&actions_, WORKING_DIRECTORY));
  }
  ~Spawn_Actions() { ::posix_spawn_file_actions_destroy(&actions_); }
  Spawn_Actions(const Spawn_Actions&) = delete;
  Spawn_Actions& operator=(const Spawn_Actions&) = delete;

  const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

class Spawn_Attributes {
 public:
  Spawn_Attributes() {
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    check_spawn_step(::posix_spawnattr_init(&attributes_));
    // Services are started with SIGPIPE ignored and block what they wait for; package managers and their
    // scripts rely on neither being so.
    check_spawn_step(::posix_spawnattr_setsigmask(&attributes_, &none));
    check_spawn_step(::posix_spawnattr_setsigdefault(&attributes_, &all));
    check_spawn_step(::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
  }
  ~Spawn_Attributes() { ::posix_spawnattr_destroy(&attributes_); }
  Spawn_Attributes(const Spawn_Attributes&) = delete;
  Spawn_Attributes& operator=(const Spawn_Attributes&) = delete;

  const posix_spawnattr_t* get() const noexcept { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

// posix_spawn takes pointers to non-const text and does not write to it.
char* argument(const std::string& text) {
  return const_cast<char*>(text.c_str());
}

pid_t spawn_shell(const std::string& command, const std::vector<std::string>& environment,
                  const Spawn_Actions& actions) {
  const std::string shell = SHELL;
  const std::string command_option = "-c";
  const std::array<char*, 4> arguments = {argument(shell), argument(command_option), argument(command),
                                          nullptr};

  std::vector<char*> variables;
  std::transform(environment.begin(), environment.end(), std::back_inserter(variables), argument);
  variables.push_back(nullptr);

  const Spawn_Attributes attributes;
  pid_t pid = -1;
  const int error_number =
      ::posix_spawn(&pid, SHELL, actions.get(), attributes.get(), arguments.data(), variables.data());
  if (error_number != 0) {
    throw_system_error(SHELL, error_number);
  }
  return pid;
}

// By its number: sys/pidfd.h lacks extern "C".
File_Descriptor open_end_event(pid_t pid) {
  constexpr unsigned int NO_FLAGS = 0;
  return File_Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, NO_FLAGS)));
}

}  // namespace

Child_Process::Child_Process(const std::string& command, const std::vector<std::string>& environment,
                             std::size_t output_limit)
    : output_(output_limit, Captured_Stream::Keep::START),
      error_output_(ERROR_OUTPUT_LIMIT, Captured_Stream::Keep::END) {
  const Spawn_Actions actions(output_.writing_end(), error_output_.writing_end());
  pid_ = spawn_shell(command, environment, actions);
  end_event_ = open_end_event(pid_);
  output_.close_writing_end();
  error_output_.close_writing_end();
}

bool Child_Process::run_until(Clock::time_point deadline) {
  return wait_(deadline, false);
}

void Child_Process::run_to_end() {
  wait_(Clock::time_point::max(), false);
}

void Child_Process::end_group(std::chrono::milliseconds grace) {
  signal_group_(SIGTERM);
  // The shell dies at once, while what it started may still be tidying up: as long as that holds the output
  // open, it has the whole delay.
  wait_(Clock::now() + grace, true);
  signal_group_(SIGKILL);
  run_to_end();
}

std::optional<int> Child_Process::collect_exit_status() {
  siginfo_t info{};
  int result = 0;
  do {
    result = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    return std::nullopt;
  }
  return info.si_code == CLD_EXITED ? info.si_status : Exit_Code::SIGNAL_BASE + info.si_status;
}

bool Child_Process::wait_(Clock::time_point deadline, bool for_closed_streams) {
  while (true) {
    notice_end_();
    output_.read_available();
    error_output_.read_available();
    if (has_ended_ && (!for_closed_streams || (output_.is_closed() && error_output_.is_closed()))) {
      return true;
    }
    if (Clock::now() >= deadline) {
      return false;
    }
    wait_for_event_(deadline);
  }
}

void Child_Process::wait_for_event_(Clock::time_point deadline) {
  // An end that has been noticed stays readable: polled again, it would make the wait a busy one.
  const int end_event = has_ended_ ? -1 : end_event_.get();
  std::array<pollfd, 3> events = {pollfd{end_event, POLLIN, 0}, pollfd{output_.reading_end(), POLLIN, 0},
                                  pollfd{error_output_.reading_end(), POLLIN, 0}};

  constexpr std::chrono::milliseconds LONGEST_WAIT = std::chrono::hours(1);
  const bool must_ask_for_end = !has_ended_ && !end_event_.is_open();
  const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  const auto wait = std::clamp(remaining, std::chrono::milliseconds(0),
                               must_ask_for_end ? END_CHECK_INTERVAL : LONGEST_WAIT);
  ::poll(events.data(), events.size(), static_cast<int>(wait.count()));
}

void Child_Process::notice_end_() {
  if (has_ended_) {
    return;
  }
  // The status stays to be collected: until then the process id, and with it the group's, is not given anew.
  siginfo_t info{};
  const int result = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
  has_ended_ = result == 0 ? info.si_pid == pid_ : errno == ECHILD;
}

void Child_Process::signal_group_(int signal_number) const {
  ::kill(-pid_, signal_number);
}

}  // namespace zant::velmora_host
