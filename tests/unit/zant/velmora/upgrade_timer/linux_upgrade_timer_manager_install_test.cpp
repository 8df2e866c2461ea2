#include "linux_upgrade_timer_manager_fixture.hpp"

#include <stdexcept>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using testing::ElementsAre;

namespace {

class InstallTimerOverrides : public test_support::Linux_Upgrade_Timer_Manager_Test {};
class RollBackTimerOverrides : public test_support::Linux_Upgrade_Timer_Manager_Test {
 protected:
  void expect_installation_failed() {
    expect_host_step_failed([this] { manager.initialize_timer(); },
                            "Failed to install upgrade timer overrides");
  }
};

TEST_F(InstallTimerOverrides, CopiesBothStagedDropInsIntoAFreshDirectoryAndReloads) {
  stage_calendar();
  stage_delay();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/calendar -> /timer.d/calendar (2)",
                          "copy_file /staged/delay -> /timer.d/delay (2)", "reload_timer"));
  EXPECT_EQ(host.files->contents("/timer.d/calendar"), "daily");
  EXPECT_EQ(host.files->contents("/timer.d/delay"), "1h");
}

TEST_F(InstallTimerOverrides, CopiesOnlyTheCalendarWhenOnlyThatIsStaged) {
  stage_calendar();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/calendar -> /timer.d/calendar (2)", "reload_timer"));
  EXPECT_FALSE(host.files->has("/timer.d/delay"));
}

TEST_F(InstallTimerOverrides, CopiesOnlyTheDelayWhenOnlyThatIsStaged) {
  stage_delay();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/delay -> /timer.d/delay (2)", "reload_timer"));
  EXPECT_FALSE(host.files->has("/timer.d/calendar"));
}

TEST_F(InstallTimerOverrides, TakesADropInOutWhoseValueWasClearedAndThenLeavesTheHostAlone) {
  stage_calendar();
  install_calendar();
  install_delay();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar", "exists /timer.d/delay",
                          "files_equal /staged/delay /timer.d/delay",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/calendar -> /timer.d/calendar (2)", "reload_timer"));
  EXPECT_FALSE(host.files->has("/timer.d/delay"));

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar", "exists /timer.d/delay",
                          "timer_is_running", "timer_needs_reload"));
}

TEST_F(InstallTimerOverrides, TakesACalendarOutWhenOnlyADelayIsStagedAnyLonger) {
  stage_delay();
  install_calendar();
  install_delay();

  manager.initialize_timer();

  EXPECT_FALSE(host.files->has("/timer.d/calendar"));
  EXPECT_EQ(host.files->contents("/timer.d/delay"), "1h");
  EXPECT_EQ(host.take_journal().back(), "reload_timer");
}

TEST_F(InstallTimerOverrides, RemovesSomebodyElsesDropInWithTheDirectory) {
  stage_calendar("weekly");
  install_calendar("daily");
  host.files->add_file("/timer.d/administrator.conf", "[Timer]");

  manager.initialize_timer();

  EXPECT_EQ(host.files->contents("/timer.d/calendar"), "weekly");
  EXPECT_FALSE(host.files->has("/timer.d/administrator.conf"));
}

TEST_F(InstallTimerOverrides, DoesNotLookAtHowRemovingAndMakingTheDirectoryWent) {
  stage_calendar("weekly");
  install_calendar("daily");
  host.files->fail("remove_all /timer.d");
  host.files->fail("create_directories /timer.d");

  EXPECT_NO_THROW(manager.initialize_timer());

  EXPECT_EQ(host.files->contents("/timer.d/calendar"), "weekly");
}

TEST_F(RollBackTimerOverrides, TakesTheDirectoryOutAgainWhenTheCalendarCannotBeCopied) {
  stage_calendar();
  stage_delay();
  host.files->fail_copies_of("/staged/calendar");

  expect_installation_failed();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("exists /staged/calendar", "exists /staged/delay",
                  "files_equal /staged/calendar /timer.d/calendar",
                  "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                  "remove_all /timer.d", "create_directories /timer.d",
                  "copy_file /staged/calendar -> /timer.d/calendar (2)", "exists /timer.d/calendar",
                  "exists /timer.d/delay", "exists /timer.d", "is_empty /timer.d", "remove /timer.d"));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RollBackTimerOverrides, TakesTheCalendarOutAgainWhenTheDelayCannotBeCopied) {
  stage_calendar();
  stage_delay();
  host.files->fail_copies_of("/staged/delay");

  expect_installation_failed();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/calendar -> /timer.d/calendar (2)",
                          "copy_file /staged/delay -> /timer.d/delay (2)", "exists /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer"));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RollBackTimerOverrides, TakesTheDropInsOutAgainWhenTheTimerCannotBeReloaded) {
  stage_delay();
  timer->reloads = [] { return false; };

  expect_installation_failed();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay",
                          "log 3 Linux_Upgrade_Timer_Manager: Installing upgrade timer overrides",
                          "remove_all /timer.d", "create_directories /timer.d",
                          "copy_file /staged/delay -> /timer.d/delay (2)", "reload_timer",
                          "exists /timer.d/calendar", "exists /timer.d/delay",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer",
                          "log 5 Linux_Upgrade_Timer_Manager: Failed to reload upgrade timer after restoring "
                          "configuration. Continuing anyway."));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RollBackTimerOverrides, FailsAlsoWhenTheRestoredTimerReloads) {
  stage_calendar();
  int reloads = 0;
  timer->reloads = [&reloads] { return ++reloads > 1; };

  expect_installation_failed();

  EXPECT_EQ(reloads, 2);
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RollBackTimerOverrides, DoesNotRollBackAfterAnExceptionOfAService) {
  stage_calendar();
  timer->reloads = []() -> bool { throw std::domain_error("no shell"); };

  EXPECT_THROW(manager.initialize_timer(), std::domain_error);

  EXPECT_EQ(host.take_journal().back(), "reload_timer");
  EXPECT_TRUE(host.files->has("/timer.d/calendar"));
}

class Manager_With_Own_Restore : public Linux_Upgrade_Timer_Manager {
 public:
  using Linux_Upgrade_Timer_Manager::Linux_Upgrade_Timer_Manager;

  int restores = 0;

  bool restore_timer() override {
    ++restores;
    return true;
  }
};

TEST_F(RollBackTimerOverrides, HonoursARestoreOfADerivedManager) {
  stage_calendar();
  host.files->fail_copies_of("/staged/calendar");
  Manager_With_Own_Restore derived(host.files, timer, timer_config);

  EXPECT_THROW(derived.initialize_timer(), Internal_Error<std::runtime_error>);

  EXPECT_EQ(derived.restores, 1);
  EXPECT_EQ(host.take_journal().back(), "copy_file /staged/calendar -> /timer.d/calendar (2)");
}

}  // namespace
