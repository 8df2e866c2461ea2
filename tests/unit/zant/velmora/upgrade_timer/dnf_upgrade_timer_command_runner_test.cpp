#include <zant/velmora/upgrade_timer/dnf_upgrade_timer_command_runner.hpp>

#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<Upgrade_Timer_Command_Runner, DNF_Upgrade_Timer_Command_Runner>);

class DnfUpgradeTimerCommandRunner : public testing::Test {
 protected:
  inline static const std::string START = "systemctl start dnf-automatic-install.timer";
  inline static const std::string STATUS = "systemctl status dnf-automatic-install.timer";
  inline static const std::string NEEDS_RELOAD =
      "systemctl show dnf-automatic-install.timer | grep -q NeedDaemonReload=yes";
  inline static const std::string RELOAD =
      "systemctl daemon-reload && systemctl restart dnf-automatic-install.timer";
  inline static const std::string DISABLE_OTHERS =
      "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
      "dnf-automatic-notifyonly.timer";

  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  DNF_Upgrade_Timer_Command_Runner runner{system};
};

TEST_F(DnfUpgradeTimerCommandRunner, KeepsTheSystemAndRunsNothingAtConstruction) {
  EXPECT_EQ(system.use_count(), 2);
  EXPECT_THAT(system->commands(), IsEmpty());
}

TEST_F(DnfUpgradeTimerCommandRunner, DisablesTheOtherTimersBeforeItStartsItsOwn) {
  system->on(DISABLE_OTHERS, 0);
  system->on(START, 0);

  EXPECT_TRUE(runner.start_timer());

  EXPECT_THAT(system->commands(), ElementsAre(DISABLE_OTHERS, START));
}

TEST_F(DnfUpgradeTimerCommandRunner, StartsTheTimerAlthoughTheOthersCouldNotBeDisabled) {
  system->on(DISABLE_OTHERS, 1);
  system->on(START, 0);

  EXPECT_TRUE(runner.start_timer());

  EXPECT_THAT(system->commands(), ElementsAre(DISABLE_OTHERS, START));
}

TEST_F(DnfUpgradeTimerCommandRunner, ReportsThatTheTimerDidNotStart) {
  system->on(DISABLE_OTHERS, 0);
  system->on(START, 5);

  EXPECT_FALSE(runner.start_timer());
}

TEST_F(DnfUpgradeTimerCommandRunner, DisablesTheOtherTimersBeforeItReloadsItsOwn) {
  system->on(DISABLE_OTHERS, 0);
  system->on(RELOAD, 0);

  EXPECT_TRUE(runner.reload_timer());

  EXPECT_THAT(system->commands(), ElementsAre(DISABLE_OTHERS, RELOAD));
}

TEST_F(DnfUpgradeTimerCommandRunner, ReloadsTheTimerAlthoughTheOthersCouldNotBeDisabled) {
  system->on(DISABLE_OTHERS, 1);
  system->on(RELOAD, 0);

  EXPECT_TRUE(runner.reload_timer());

  EXPECT_THAT(system->commands(), ElementsAre(DISABLE_OTHERS, RELOAD));
}

TEST_F(DnfUpgradeTimerCommandRunner, ReportsThatTheTimerDidNotReload) {
  system->on(DISABLE_OTHERS, 0);
  system->on(RELOAD, 1);

  EXPECT_FALSE(runner.reload_timer());
}

TEST_F(DnfUpgradeTimerCommandRunner, AsksWhetherTheTimerRunsAndDisablesNothing) {
  system->on(STATUS, 0);

  EXPECT_TRUE(runner.timer_is_running());

  EXPECT_THAT(system->commands(), ElementsAre(STATUS));
}

TEST_F(DnfUpgradeTimerCommandRunner, TakesAnInactiveAndAnUnknownTimerForNotRunning) {
  system->once(STATUS, 3, "Active: inactive (dead)");
  system->once(STATUS, 4, "Unit dnf-automatic-install.timer could not be found.");

  EXPECT_FALSE(runner.timer_is_running());
  EXPECT_FALSE(runner.timer_is_running());
}

TEST_F(DnfUpgradeTimerCommandRunner, AsksForAReloadAndDisablesNothing) {
  system->on(NEEDS_RELOAD, 0);

  EXPECT_TRUE(runner.timer_needs_reload());

  EXPECT_THAT(system->commands(), ElementsAre(NEEDS_RELOAD));
}

TEST_F(DnfUpgradeTimerCommandRunner, NeedsNoReloadWhenNothingIsFound) {
  system->on(NEEDS_RELOAD, 1);

  EXPECT_FALSE(runner.timer_needs_reload());
}

TEST_F(DnfUpgradeTimerCommandRunner, NeedsNoReloadWhenSystemdCannotBeAsked) {
  system->on(NEEDS_RELOAD, 127, "systemctl: command not found");

  EXPECT_FALSE(runner.timer_needs_reload());
}

TEST_F(DnfUpgradeTimerCommandRunner, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const auto& command : {DISABLE_OTHERS, STATUS, NEEDS_RELOAD}) {
    system->on(command, 0);
    system->during(command, [] { throw std::runtime_error("no shell"); });
  }

  EXPECT_THROW(runner.start_timer(), std::runtime_error);
  EXPECT_THROW(runner.reload_timer(), std::runtime_error);
  EXPECT_THROW(runner.timer_is_running(), std::runtime_error);
  EXPECT_THROW(runner.timer_needs_reload(), std::runtime_error);
}

TEST_F(DnfUpgradeTimerCommandRunner, LetsAnExceptionAfterTheOthersWereDisabledThrough) {
  system->on(DISABLE_OTHERS, 0);
  for (const auto& command : {START, RELOAD}) {
    system->on(command, 0);
    system->during(command, [] { throw std::runtime_error("no shell"); });
  }

  EXPECT_THROW(runner.start_timer(), std::runtime_error);
  EXPECT_THROW(runner.reload_timer(), std::runtime_error);
  EXPECT_THAT(system->commands(), ElementsAre(DISABLE_OTHERS, START, DISABLE_OTHERS, RELOAD));
}

}  // namespace
