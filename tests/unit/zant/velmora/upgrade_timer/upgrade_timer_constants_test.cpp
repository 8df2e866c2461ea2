#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <gtest/gtest.h>

using namespace zant::velmora;

namespace {

TEST(UpgradeTimerConstants, HaveTheirLiteralValues) {
  EXPECT_STREQ(Upgrade_Timer_Constants::START_FORMAT, "systemctl start {}");
  EXPECT_STREQ(Upgrade_Timer_Constants::STATUS_FORMAT, "systemctl status {}");
  EXPECT_STREQ(Upgrade_Timer_Constants::NEEDS_RELOAD_FORMAT,
               "systemctl show {} | grep -q NeedDaemonReload=yes");
  EXPECT_STREQ(Upgrade_Timer_Constants::RELOAD_FORMAT, "systemctl daemon-reload && systemctl restart {}");
  EXPECT_STREQ(Upgrade_Timer_Constants::OVERRIDE_DIR_FORMAT, "/etc/systemd/system/{}.d");
  EXPECT_STREQ(Upgrade_Timer_Constants::ON_CALENDAR_FILE_FORMAT, "{}.on-calendar.conf");
  EXPECT_STREQ(Upgrade_Timer_Constants::RANDOMIZED_DELAY_FILE_FORMAT, "{}.randomized-delay.conf");
  EXPECT_STREQ(Upgrade_Timer_Constants::STAGED_ON_CALENDAR_FILE, "zant-on-calendar.conf");
  EXPECT_STREQ(Upgrade_Timer_Constants::STAGED_RANDOMIZED_DELAY_FILE, "zant-randomized-delay.conf");
}

}  // namespace
