#include <standalone_host/platform/service_notification.hpp>

#include <standalone_host/platform/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <notification_socket.hpp>

namespace zant::velmora::standalone_host {
namespace {

TEST(ServiceNotification, TellsReadinessWithALineForPeople) {
  const test_support::Notification_Socket manager;

  Service_Notification::ready("Minding, every 60 s");

  EXPECT_EQ(manager.next_message(), "READY=1\nSTATUS=Minding, every 60 s");
}

TEST(ServiceNotification, TellsTheEnd) {
  const test_support::Notification_Socket manager;

  Service_Notification::stopping("Stopping");

  EXPECT_EQ(manager.next_message(), "STOPPING=1\nSTATUS=Stopping");
}

TEST(ServiceNotification, IsNothingWhereNobodyListens) {
  EXPECT_NO_THROW(Service_Notification::ready("Minding"));
}

}  // namespace
}  // namespace zant::velmora::standalone_host
