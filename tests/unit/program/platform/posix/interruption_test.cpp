#include <program/platform/interruption.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace zant::program {
namespace {

using velmora_host::Temporary_Directory;

class CleanInterruption : public ::testing::Test {
 protected:
  CleanInterruption() { boost::filesystem::create_directory(directory_); }
  ~CleanInterruption() override { boost::filesystem::remove_all(directory_); }

  // Makes a directory with a file below `directory_`, and gets the signal.
  void be_interrupted(int signal_number) const {
    // The tests may have been started with it ignored, as everything in the background of a script is.
    ::signal(signal_number, SIG_DFL);
    ::setenv("TMPDIR", directory_.c_str(), 1);
    const Clean_Interruption interruption;
    const Temporary_Directory own;
    std::ofstream((own.path() / "file").string()) << "text";
    ::kill(::getpid(), signal_number);
    while (true) {
      ::pause();
    }
  }

  // Not one of those that are deleted.
  const boost::filesystem::path directory_ =
      boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("interruption-%%%%%%%%");
};

TEST_F(CleanInterruption, LeavesNoTemporaryDirectoryAndDiesOfTheSignal) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    EXPECT_EXIT(be_interrupted(number), ::testing::KilledBySignal(number), "");
    EXPECT_TRUE(boost::filesystem::is_empty(directory_));
  }
}

TEST_F(CleanInterruption, LeavesASignalIgnoredThatItsCallerIgnores) {
  const auto ignore = [] {
    ::signal(SIGHUP, SIG_IGN);
    const Clean_Interruption interruption;
    ::kill(::getpid(), SIGHUP);
    ::_exit(7);
  };

  EXPECT_EXIT(ignore(), ::testing::ExitedWithCode(7), "");
}

TEST_F(CleanInterruption, LeavesTheMaskOfSignalsAsItWas) {
  sigset_t before;
  sigset_t after;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
  { const Clean_Interruption interruption; }
  ::pthread_sigmask(SIG_SETMASK, nullptr, &after);

  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    EXPECT_EQ(::sigismember(&after, number), ::sigismember(&before, number));
  }
}

}  // namespace
}  // namespace zant::program
