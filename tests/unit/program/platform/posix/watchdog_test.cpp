#include <program/platform/service_notification.hpp>

#include <gtest/gtest.h>
#include <support/host_side/notification_socket.hpp>

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace zant::program {
namespace {

using std::chrono::milliseconds;

class Watchdog : public ::testing::Test {
 protected:
  ~Watchdog() override {
    ::unsetenv("WATCHDOG_USEC");
    ::unsetenv("WATCHDOG_PID");
  }

  static void given_limit(const char* microseconds) { ::setenv("WATCHDOG_USEC", microseconds, 1); }
};

TEST_F(Watchdog, IsToBeToldTwiceWithinItsLimit) {
  given_limit("60000000");

  EXPECT_EQ(service_notification::watchdog_interval(), milliseconds(30000));
  EXPECT_EQ(service_notification::watchdog_interval(), milliseconds(30000)) << "asked again";
}

TEST_F(Watchdog, IsNotToBeToldWithoutALimit) {
  EXPECT_EQ(service_notification::watchdog_interval(), milliseconds::zero());

  given_limit("nonsense");
  EXPECT_EQ(service_notification::watchdog_interval(), milliseconds::zero());
}

TEST_F(Watchdog, OfAnotherProcessIsNotToBeTold) {
  given_limit("60000000");
  ::setenv("WATCHDOG_PID", std::to_string(::getppid()).c_str(), 1);

  EXPECT_EQ(service_notification::watchdog_interval(), milliseconds::zero());
}

TEST_F(Watchdog, HearsThatTheProgramIsAliveAndWhatItDoes) {
  const velmora_host::test_support::Notification_Socket manager;

  service_notification::alive();
  service_notification::status("Waiting");

  EXPECT_EQ(manager.next_message(), "WATCHDOG=1");
  EXPECT_EQ(manager.next_message(), "STATUS=Waiting");
}

}  // namespace
}  // namespace zant::program
