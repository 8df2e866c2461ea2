#include <program/platform/platform.hpp>

#include <gtest/gtest.h>
#include <support/host_side/notification_socket.hpp>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
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

  void SetUp() override { ASSERT_TRUE(manager_); }

  static void given_limit(const char* microseconds) { ::setenv("WATCHDOG_USEC", microseconds, 1); }

  const velmora_host::test_support::Notification_Socket socket_;
  const std::unique_ptr<Service_Manager> manager_ = find_service_manager();
};

TEST_F(Watchdog, IsToBeToldTwiceWithinItsLimit) {
  given_limit("60000000");

  EXPECT_EQ(manager_->watchdog_interval(), milliseconds(30000));
  EXPECT_EQ(manager_->watchdog_interval(), milliseconds(30000)) << "asked again";
}

TEST_F(Watchdog, IsNotToBeToldWithoutALimit) {
  EXPECT_EQ(manager_->watchdog_interval(), milliseconds::zero());

  given_limit("nonsense");
  EXPECT_EQ(manager_->watchdog_interval(), milliseconds::zero());
}

TEST_F(Watchdog, OfAnotherProcessIsNotToBeTold) {
  given_limit("60000000");
  ::setenv("WATCHDOG_PID", std::to_string(::getppid()).c_str(), 1);

  EXPECT_EQ(manager_->watchdog_interval(), milliseconds::zero());
}

TEST_F(Watchdog, HearsThatTheProgramIsAliveAndWhatItDoes) {
  manager_->alive();
  manager_->status("Waiting");

  EXPECT_EQ(socket_.next_message(), "WATCHDOG=1");
  EXPECT_EQ(socket_.next_message(), "STATUS=Waiting");
}

}  // namespace
}  // namespace zant::program
