#include <program/platform/service_notification.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <support/host_side/notification_socket.hpp>

namespace zant::program {
namespace {

TEST(ServiceNotification, TellsReadinessWithALineForPeople) {
  const velmora_host::test_support::Notification_Socket manager;

  service_notification::ready("Minding, every 60 s");

  EXPECT_EQ(manager.next_message(), "READY=1\nSTATUS=Minding, every 60 s");
}

TEST(ServiceNotification, TellsTheEnd) {
  const velmora_host::test_support::Notification_Socket manager;

  service_notification::stopping("Stopping");

  EXPECT_EQ(manager.next_message(), "STOPPING=1\nSTATUS=Stopping");
}

TEST(ServiceNotification, IsNothingWhereNobodyListens) {
  EXPECT_NO_THROW(service_notification::ready("Minding"));
}

}  // namespace
}  // namespace zant::program
