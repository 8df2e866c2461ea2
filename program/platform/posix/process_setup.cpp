#include <program/platform/process_setup.hpp>

#include <signal.h>
#include <sys/stat.h>

namespace zant::program {
namespace {

// What package managers and their scripts create on the host is for everybody to read.
constexpr mode_t USUAL_MASK = 022;

}  // namespace

void set_up_process() {
  ::umask(USUAL_MASK);
  // A reader of the log that goes away must not take the program with it.
  ::signal(SIGPIPE, SIG_IGN);
  // Inherited as ignored, it would lose the exit status of every command.
  ::signal(SIGCHLD, SIG_DFL);
}

Arguments::Arguments(int argc, const char* const* argv) : values_(argv, argv + argc) {}

}  // namespace zant::program
