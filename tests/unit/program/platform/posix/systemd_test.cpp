#include <program/platform/platform.hpp>

#include <gtest/gtest.h>
#include <support/host_side/notification_socket.hpp>

#include <memory>

namespace zant::program {
namespace {

using velmora_host::test_support::Notification_Socket;

class Systemd : public ::testing::Test {
 protected:
  const Notification_Socket socket_;
  const std::unique_ptr<Service_Manager> manager_ = find_service_manager();
};

TEST_F(Systemd, HearsOfReadinessWithALineForTheAdministrator) {
  ASSERT_TRUE(manager_);
  manager_->ready("Minding, every 60 s");

  EXPECT_EQ(socket_.next_message(), "READY=1\nSTATUS=Minding, every 60 s");
}

TEST_F(Systemd, HearsOfTheEnd) {
  ASSERT_TRUE(manager_);
  manager_->stopping("Stopping");

  EXPECT_EQ(socket_.next_message(), "STOPPING=1\nSTATUS=Stopping");
}

TEST(ServiceManager, IsNoneWhereNobodyListens) {
  EXPECT_EQ(find_service_manager(), nullptr);
}

TEST(ServiceManager, LetsAServiceBeAProcessLikeAnyOther) {
  EXPECT_EQ(run_as_service([] { return 42; }), 42);
}

}  // namespace
}  // namespace zant::program
