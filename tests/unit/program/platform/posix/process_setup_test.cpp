#include <program/platform/process_setup.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zant::program {
namespace {

using Handler = void (*)(int);

// What the caller of a program leaves to it.
class ProcessSetup : public ::testing::Test {
 protected:
  ProcessSetup()
      : mask_(::umask(0077)),
        on_closed_pipe_(::signal(SIGPIPE, SIG_DFL)),
        on_large_file_(::signal(SIGXFSZ, SIG_DFL)),
        on_child_(::signal(SIGCHLD, SIG_IGN)) {}
  ~ProcessSetup() override {
    ::umask(mask_);
    ::signal(SIGPIPE, on_closed_pipe_);
    ::signal(SIGXFSZ, on_large_file_);
    ::signal(SIGCHLD, on_child_);
  }

  static Handler handler_of(int signal_number) {
    struct sigaction action {};
    ::sigaction(signal_number, nullptr, &action);
    return action.sa_handler;
  }

 private:
  mode_t mask_;
  Handler on_closed_pipe_;
  Handler on_large_file_;
  Handler on_child_;
};

TEST_F(ProcessSetup, DoesAwayWithWhatTheCallerLeft) {
  set_up_process();

  EXPECT_EQ(::umask(0), 0022U) << "what package managers create is for everybody to read";
  EXPECT_EQ(handler_of(SIGPIPE), SIG_IGN) << "a reader of the log may go away";
  EXPECT_EQ(handler_of(SIGXFSZ), SIG_IGN) << "a write beyond a limit is an error, and no end without a word";
  EXPECT_EQ(handler_of(SIGCHLD), SIG_DFL) << "or every command would lose its exit status";
}

TEST(StandardDescriptors, ThatAreClosedAreOpenedForNothing) {
  const auto start_without_descriptors = [] {
    for (const int number : {0, 1, 2}) {
      ::close(number);
    }
    set_up_process();
    const bool are_all_open =
        ::fcntl(0, F_GETFD) == 0 && ::fcntl(1, F_GETFD) == 0 && ::fcntl(2, F_GETFD) == 0;
    const bool is_output_refused = ::write(1, "x", 1) == -1 && ::write(2, "x", 1) == -1;
    ::_exit(are_all_open && is_output_refused ? 0 : 1);
  };

  EXPECT_EXIT(start_without_descriptors(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zant::program
