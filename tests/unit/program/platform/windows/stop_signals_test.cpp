#include <program/platform/stop_signals.hpp>

#include <Poco/Process.h>
#include <gtest/gtest.h>

#include <chrono>

namespace zant::program {
namespace {

TEST(WindowsStopSignals, GivesUpAfterTheTime) {
  Stop_Signals stop_signals;

  EXPECT_EQ(stop_signals.wait_for(std::chrono::milliseconds(1)), nullptr);
}

TEST(WindowsStopSignals, KeepsARequestOfTheServiceManagerUntilItIsAskedFor) {
  Stop_Signals stop_signals;

  Poco::Process::requestTermination(Poco::Process::id());

  EXPECT_STREQ(stop_signals.wait_for(std::chrono::hours(1)), "a request of the service manager");
  EXPECT_EQ(stop_signals.wait_for(std::chrono::milliseconds(0)), nullptr) << "one request stops once";
}

}  // namespace
}  // namespace zant::program
