#include <zant/velmora/upgrade_timer/apt_upgrade_timer_command_runner.hpp>

#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using test_support::Fake_System;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<Upgrade_Timer_Command_Runner, APT_Upgrade_Timer_Command_Runner>);

class AptUpgradeTimerCommandRunner : public testing::Test {
 protected:
  static constexpr const char* START = "systemctl start apt-daily-upgrade.timer";
  static constexpr const char* STATUS = "systemctl status apt-daily-upgrade.timer";
  static constexpr const char* NEEDS_RELOAD =
      "systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes";
  static constexpr const char* RELOAD =
      "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer";

  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  APT_Upgrade_Timer_Command_Runner runner{system};
};

TEST_F(AptUpgradeTimerCommandRunner, KeepsTheSystemAndRunsNothingAtConstruction) {
  EXPECT_EQ(system.use_count(), 2);
  EXPECT_THAT(system->commands(), IsEmpty());
}

TEST_F(AptUpgradeTimerCommandRunner, StartsTheTimerWithOneCommand) {
  system->on(START, 0);

  EXPECT_TRUE(runner.start_timer());
  EXPECT_THAT(system->commands(), ElementsAre(START));
}

TEST_F(AptUpgradeTimerCommandRunner, ReportsATimerThatDoesNotStart) {
  system->on(START, 5, "Unit not found.");

  EXPECT_FALSE(runner.start_timer());
  EXPECT_THAT(system->commands(), ElementsAre(START));
}

TEST_F(AptUpgradeTimerCommandRunner, FindsThatTheTimerNeedsAReload) {
  system->on(NEEDS_RELOAD, 0);

  EXPECT_TRUE(runner.timer_needs_reload());
  EXPECT_THAT(system->commands(), ElementsAre(NEEDS_RELOAD));
}

TEST_F(AptUpgradeTimerCommandRunner, FindsNoNeedForAReloadWhenGrepFindsNothing) {
  system->on(NEEDS_RELOAD, 1);

  EXPECT_FALSE(runner.timer_needs_reload());
  EXPECT_THAT(system->commands(), ElementsAre(NEEDS_RELOAD));
}

TEST_F(AptUpgradeTimerCommandRunner, FindsNoNeedForAReloadWhenSystemdCannotBeAsked) {
  system->on(NEEDS_RELOAD, 127, "systemctl: command not found");

  EXPECT_FALSE(runner.timer_needs_reload());
}

TEST_F(AptUpgradeTimerCommandRunner, ReloadsTheTimerWithOneCommand) {
  system->on(RELOAD, 0);

  EXPECT_TRUE(runner.reload_timer());
  EXPECT_THAT(system->commands(), ElementsAre(RELOAD));
}

TEST_F(AptUpgradeTimerCommandRunner, ReportsATimerThatDoesNotReload) {
  system->on(RELOAD, 1);

  EXPECT_FALSE(runner.reload_timer());
  EXPECT_THAT(system->commands(), ElementsAre(RELOAD));
}

TEST_F(AptUpgradeTimerCommandRunner, FindsAnActiveTimerRunning) {
  system->on(STATUS, 0, "Active: active (waiting)");

  EXPECT_TRUE(runner.timer_is_running());
  EXPECT_THAT(system->commands(), ElementsAre(STATUS));
}

TEST_F(AptUpgradeTimerCommandRunner, FindsAnInactiveTimerNotRunning) {
  system->on(STATUS, 3, "Active: inactive (dead)");

  EXPECT_FALSE(runner.timer_is_running());
  EXPECT_THAT(system->commands(), ElementsAre(STATUS));
}

TEST_F(AptUpgradeTimerCommandRunner, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const char* command : {START, STATUS, NEEDS_RELOAD, RELOAD}) {
    system->on(command, 0);
    system->during(command, [] { throw std::domain_error("no shell"); });
  }

  EXPECT_THROW(runner.start_timer(), std::domain_error);
  EXPECT_THROW(runner.timer_needs_reload(), std::domain_error);
  EXPECT_THROW(runner.reload_timer(), std::domain_error);
  EXPECT_THROW(runner.timer_is_running(), std::domain_error);
}

}  // namespace
