#include "linux_upgrade_timer_manager_fixture.hpp"

#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<Upgrade_Timer_Manager, Linux_Upgrade_Timer_Manager>);

class LinuxUpgradeTimerManager : public test_support::Linux_Upgrade_Timer_Manager_Test {};
class RestoreTimer : public test_support::Linux_Upgrade_Timer_Manager_Test {};
class InitializeTimerWithNothingStaged : public test_support::Linux_Upgrade_Timer_Manager_Test {};

TEST_F(LinuxUpgradeTimerManager, TouchesNothingAtConstruction) {
  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(LinuxUpgradeTimerManager, WorksWithACopyOfTheRecordItWasGiven) {
  timer_config = {};

  const auto kept = manager.get_timer_config();

  EXPECT_EQ(kept.on_calendar.source, "/staged/calendar");
  EXPECT_EQ(kept.on_calendar.target, "/timer.d/calendar");
  EXPECT_EQ(kept.on_calendar.value, "daily");
  EXPECT_EQ(kept.randomized_delay.source, "/staged/delay");
  EXPECT_EQ(kept.randomized_delay.target, "/timer.d/delay");
  EXPECT_EQ(kept.randomized_delay.value, "1h");
  EXPECT_EQ(kept.override_dir, "/timer.d");
  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(RestoreTimer, FindsNothingToRestoreOnAnUntouchedHost) {
  EXPECT_FALSE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /timer.d/calendar", "exists /timer.d/delay", "exists /timer.d"));
}

TEST_F(RestoreTimer, RemovesAnEmptyDirectoryButLeavesTheTimerAlone) {
  host.files->add_directory("/timer.d");

  EXPECT_FALSE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /timer.d/calendar", "exists /timer.d/delay",
                                               "exists /timer.d", "is_empty /timer.d", "remove /timer.d"));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RestoreTimer, LeavesADirectoryWithSomebodyElsesDropInAlone) {
  host.files->add_file("/timer.d/administrator.conf", "[Timer]");

  EXPECT_FALSE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /timer.d/calendar", "exists /timer.d/delay",
                                               "exists /timer.d", "is_empty /timer.d"));
  EXPECT_TRUE(host.files->has("/timer.d/administrator.conf"));
}

TEST_F(RestoreTimer, RemovesBothDropInsAndTheirDirectoryAndReloadsTheTimer) {
  install_calendar();
  install_delay();

  EXPECT_TRUE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer"));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RestoreTimer, FindsADelayThatIsInstalledAlone) {
  install_delay();

  EXPECT_TRUE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /timer.d/calendar", "exists /timer.d/delay",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer"));
}

TEST_F(RestoreTimer, NeverRemovesADirectoryWithSomebodyElsesDropIn) {
  install_calendar();
  host.files->add_file("/timer.d/administrator.conf", "[Timer]");

  EXPECT_TRUE(manager.restore_timer());

  EXPECT_FALSE(host.files->has("/timer.d/calendar"));
  EXPECT_EQ(host.files->contents("/timer.d/administrator.conf"), "[Timer]");
}

TEST_F(RestoreTimer, CarriesOnWhenTheTimerCannotBeReloaded) {
  install_calendar();
  timer->reloads = [] { return false; };

  EXPECT_TRUE(manager.restore_timer());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer",
                          "log 5 Linux_Upgrade_Timer_Manager: Failed to reload upgrade timer after restoring "
                          "configuration. Continuing anyway."));
  EXPECT_FALSE(host.files->has("/timer.d"));
}

TEST_F(RestoreTimer, LetsAnExceptionOfTheFileServiceThrough) {
  host.files->during("exists /timer.d/calendar", [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(manager.restore_timer(), std::domain_error);
}

TEST_F(InitializeTimerWithNothingStaged, StartsTheTimerAndTouchesNoFile) {
  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "exists /timer.d/delay", "exists /timer.d", "start_timer"));
}

TEST_F(InitializeTimerWithNothingStaged, RemovesAnEmptyDropInDirectoryBeforeItStartsTheTimer) {
  host.files->add_directory("/timer.d");

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "exists /timer.d/delay", "exists /timer.d", "is_empty /timer.d", "remove /timer.d",
                          "start_timer"));
}

TEST_F(InitializeTimerWithNothingStaged, LogsATimerThatDoesNotStartAndCarriesOn) {
  timer->starts = false;

  EXPECT_NO_THROW(manager.initialize_timer());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "exists /timer.d/delay", "exists /timer.d", "start_timer",
                          "log 5 Linux_Upgrade_Timer_Manager: Timer restoration wasn't necessary, but failed "
                          "to restart the timer. Continuing anyway."));
}

TEST_F(InitializeTimerWithNothingStaged, TakesInstalledDropInsOutAndDoesNotStartTheReloadedTimer) {
  install_calendar();
  install_delay();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "log 3 Linux_Upgrade_Timer_Manager: Removing upgrade timer overrides",
                          "remove [/timer.d/calendar, /timer.d/delay]", "exists /timer.d",
                          "is_empty /timer.d", "remove /timer.d", "reload_timer"));
}

TEST_F(InitializeTimerWithNothingStaged, IsContentWithARestoredTimerThatCannotBeReloaded) {
  install_calendar();
  timer->reloads = [] { return false; };

  EXPECT_NO_THROW(manager.initialize_timer());

  EXPECT_EQ(
      host.take_journal().back(),
      "log 5 Linux_Upgrade_Timer_Manager: Failed to reload upgrade timer after restoring configuration. "
      "Continuing anyway.");
}

}  // namespace
