#include <program/platform/process_setup.hpp>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace zant::program {
namespace {

// What package managers and their scripts create on the host must be world-readable.
constexpr mode_t USUAL_MASK = 022;

// In a direction in which nothing can be read or written: a report that nobody can get is a failure.
constexpr std::array<int, 3> MODES = {O_WRONLY, O_RDONLY, O_RDONLY};

void open_closed_standard_descriptors() {
  for (std::size_t number = 0; number < MODES.size(); ++number) {
    const bool is_closed = ::fcntl(static_cast<int>(number), F_GETFD) == -1 && errno == EBADF;
    // The lowest free number is given, which is this one: the ones below it are open by now.
    if (is_closed && ::open("/dev/null", MODES.at(number)) != static_cast<int>(number)) {
      std::abort();
    }
  }
}

}  // namespace

void set_up_process() {
  // First: what is opened with the number of a closed one would get what is written there, the log for
  // instance.
  open_closed_standard_descriptors();
  ::umask(USUAL_MASK);
  // A log that nobody reads any more must not end the program.
  ::signal(SIGPIPE, SIG_IGN);
  // Nor may a file size limit: a write beyond it is an error like others.
  ::signal(SIGXFSZ, SIG_IGN);
  // Inherited as ignored, it would lose the exit status of every command.
  ::signal(SIGCHLD, SIG_DFL);
}

}  // namespace zant::program
