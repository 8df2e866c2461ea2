#include <program/platform/process_setup.hpp>

#include <signal.h>
#include <sys/stat.h>

namespace zant::program {
namespace {

// What package managers and their scripts create on the host must be world-readable.
constexpr mode_t USUAL_MASK = 022;

}  // namespace

void set_up_process() {
  ::umask(USUAL_MASK);
  // A log that nobody reads any more must not end the program.
  ::signal(SIGPIPE, SIG_IGN);
  // Inherited as ignored, it would lose the exit status of every command.
  ::signal(SIGCHLD, SIG_DFL);
}

}  // namespace zant::program
