#include "linux_upgrade_timer_manager_fixture.hpp"

#include <vector>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

class InitializeTimerInSync : public test_support::Linux_Upgrade_Timer_Manager_Test {
 protected:
  void stage_and_install_both() {
    stage_calendar();
    stage_delay();
    install_calendar();
    install_delay();
  }
};

class TimerSyncCheck : public test_support::Linux_Upgrade_Timer_Manager_Test {
 protected:
  // The questions about files only: up to the first thing that is done about the answers.
  std::vector<std::string> initialize_and_take_file_questions() {
    manager.initialize_timer();
    auto questions = host.take_journal();
    std::erase_if(questions, [](const std::string& call) {
      return !call.starts_with("exists") && !call.starts_with("files_equal");
    });
    return questions;
  }
};

TEST_F(InitializeTimerInSync, OnlyAsksWhetherTheTimerRunsAndNeedsAReload) {
  stage_and_install_both();

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /staged/calendar", "exists /staged/delay",
                                               "files_equal /staged/calendar /timer.d/calendar",
                                               "files_equal /staged/delay /timer.d/delay", "timer_is_running",
                                               "timer_needs_reload"));
}

TEST_F(InitializeTimerInSync, StartsATimerThatDoesNotRunAndAsksForNoReload) {
  stage_and_install_both();
  timer->running = false;
  timer->needs_reload = true;

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay", "timer_is_running", "start_timer"));
}

TEST_F(InitializeTimerInSync, ThrowsWhenTheTimerDoesNotStart) {
  stage_and_install_both();
  timer->running = false;
  timer->starts = false;

  expect_host_step_failed([this] { manager.initialize_timer(); }, "Failed to start upgrade timer");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay", "timer_is_running", "start_timer"));
}

TEST_F(InitializeTimerInSync, ReloadsARunningTimerThatNeedsIt) {
  stage_and_install_both();
  timer->needs_reload = true;

  manager.initialize_timer();

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /staged/calendar", "exists /staged/delay",
                                               "files_equal /staged/calendar /timer.d/calendar",
                                               "files_equal /staged/delay /timer.d/delay", "timer_is_running",
                                               "timer_needs_reload", "reload_timer"));
}

TEST_F(InitializeTimerInSync, ThrowsWhenTheTimerDoesNotReload) {
  stage_and_install_both();
  timer->needs_reload = true;
  timer->reloads = [] { return false; };

  expect_host_step_failed([this] { manager.initialize_timer(); }, "Failed to reload upgrade timer");

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /staged/calendar", "exists /staged/delay",
                                               "files_equal /staged/calendar /timer.d/calendar",
                                               "files_equal /staged/delay /timer.d/delay", "timer_is_running",
                                               "timer_needs_reload", "reload_timer"));
  EXPECT_TRUE(host.files->has("/timer.d/calendar"));
}

TEST_F(TimerSyncCheck, WithOnlyACalendarStagedAsksWhetherADelayIsInstalled) {
  stage_calendar();
  install_calendar();

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar", "exists /timer.d/delay"));
}

TEST_F(TimerSyncCheck, WithOnlyACalendarStagedComparesADelayThatIsInstalled) {
  stage_calendar();
  install_calendar();
  install_delay();

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar", "exists /timer.d/delay",
                          "files_equal /staged/delay /timer.d/delay"));
}

TEST_F(TimerSyncCheck, WithOnlyADelayStagedAsksWhetherACalendarIsInstalled) {
  stage_delay();
  install_delay();

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay"));
}

TEST_F(TimerSyncCheck, WithOnlyADelayStagedComparesACalendarThatIsInstalled) {
  stage_delay();
  install_delay();
  install_calendar();

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay", "exists /timer.d/calendar",
                          "files_equal /staged/calendar /timer.d/calendar"));
}

TEST_F(TimerSyncCheck, StopsAtTheFirstPairThatDiffers) {
  stage_calendar("weekly");
  stage_delay("2h");
  install_calendar("daily");
  install_delay("1h");

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar"));
}

TEST_F(TimerSyncCheck, ComparesTheDelayWhenTheCalendarIsEqual) {
  stage_calendar();
  stage_delay("2h");
  install_calendar();
  install_delay("1h");

  EXPECT_THAT(initialize_and_take_file_questions(),
              ElementsAre("exists /staged/calendar", "exists /staged/delay",
                          "files_equal /staged/calendar /timer.d/calendar",
                          "files_equal /staged/delay /timer.d/delay"));
}

TEST_F(TimerSyncCheck, LooksAtTheFilesAfreshInEveryCall) {
  stage_calendar();
  install_calendar();

  const auto first = initialize_and_take_file_questions();

  EXPECT_THAT(initialize_and_take_file_questions(), ElementsAreArray(first));
}

}  // namespace
