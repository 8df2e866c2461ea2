#include <program/platform/stop_signals.hpp>

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

namespace zant::program {
namespace {

using std::chrono::milliseconds;

class StopSignals : public ::testing::Test {
 protected:
  StopSignals() { ::pthread_sigmask(SIG_SETMASK, nullptr, &previous_mask_); }
  ~StopSignals() override { ::pthread_sigmask(SIG_SETMASK, &previous_mask_, nullptr); }

 private:
  sigset_t previous_mask_{};
};

TEST_F(StopSignals, AreKeptUntilSomebodyWaitsForThem) {
  for (const auto& [number, name] :
       {std::pair(SIGTERM, "SIGTERM"), std::pair(SIGINT, "SIGINT"), std::pair(SIGHUP, "SIGHUP")}) {
    Stop_Signals signals;

    ::kill(::getpid(), number);
    EXPECT_STREQ(signals.wait(), name);

    ::kill(::getpid(), number);
    EXPECT_STREQ(signals.wait_for(milliseconds(60000)), name);
  }
}

TEST_F(StopSignals, AreWaitedForNoLongerThanWanted) {
  Stop_Signals signals;
  const auto start = std::chrono::steady_clock::now();

  EXPECT_EQ(signals.wait_for(milliseconds(20)), nullptr);

  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

}  // namespace
}  // namespace zant::program
