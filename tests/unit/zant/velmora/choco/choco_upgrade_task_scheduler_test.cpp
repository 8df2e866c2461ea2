#include <zant/velmora/choco/choco_upgrade_task_scheduler.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string EXE_PATH = "C:\\Program Files (x86)\\Zant\\choco.exe";
const std::string CREATE =
    "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR \"\\\"C:\\Program Files "
    "(x86)\\Zant\\choco.exe\\\" upgrade zant-velmora -y --ignore-http-cache\" /ST 01:00 /SC WEEKLY /D SUN";
const std::string QUERY = "schtasks.exe /QUERY /TN \"UpgradeVelmoraRecorderVMS\"";
const std::string DELETE_TASK = "schtasks.exe /DELETE /F /TN \"UpgradeVelmoraRecorderVMS\"";

const Captured_Record ANNOUNCEMENT = {
    1, "Choco_Upgrade_Task_Scheduler",
    "Scheduling task (UpgradeVelmoraRecorderVMS) for automatic package upgrades, if "
    "necessary | Options: /ST 01:00 /SC WEEKLY /D SUN"};

class ChocoUpgradeTaskScheduler : public testing::Test {
 protected:
  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  Recorded_Settings settings;
  Captured_Log log;

  Choco_Upgrade_Task_Scheduler scheduler() const {
    return Choco_Upgrade_Task_Scheduler(system, settings, EXE_PATH);
  }
};

TEST_F(ChocoUpgradeTaskScheduler, RunsNothingAndSaysNothingAtConstruction) {
  const auto unused = scheduler();

  EXPECT_THAT(system->commands(), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoUpgradeTaskScheduler, CreatesTheTaskWithTheDefaultScheduleAndAnEscapedQuotedPath) {
  system->on(CREATE, 0, "SUCCESS: The scheduled task has successfully been created.\r\n");

  EXPECT_TRUE(scheduler().create_task());
  EXPECT_THAT(system->commands(), ElementsAre(CREATE));
  EXPECT_THAT(log.records(), ElementsAre(ANNOUNCEMENT));
}

TEST_F(ChocoUpgradeTaskScheduler, CreatesTheTaskAfreshEveryTime) {
  system->on(CREATE, 0);
  auto twice = scheduler();

  EXPECT_TRUE(twice.create_task());
  EXPECT_TRUE(twice.create_task());
  EXPECT_THAT(system->commands(), ElementsAre(CREATE, CREATE));
}

TEST_F(ChocoUpgradeTaskScheduler, ReportsATaskThatCannotBeCreated) {
  system->on(CREATE, 1, "ERROR: Access is denied.\r\n");

  EXPECT_FALSE(scheduler().create_task());
  EXPECT_THAT(log.records(),
              ElementsAre(ANNOUNCEMENT, Captured_Record{5, "Choco_Upgrade_Task_Scheduler",
                                                        "Failed to schedule task for automatic "
                                                        "package upgrades"}));
}

TEST_F(ChocoUpgradeTaskScheduler, AppendsTheOptionsAsTheyStand) {
  const std::string daily =
      "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR \"\\\"C:\\Program "
      "Files "
      "(x86)\\Zant\\choco.exe\\\" upgrade zant-velmora -y --ignore-http-cache\" /SC DAILY  /ST 03:30 \"{}\" "
      "%X%";
  system->on(daily, 0);

  settings.set("package.choco.upgrade_scheduler.options", "/SC DAILY  /ST 03:30 \"{}\" %X%");

  EXPECT_TRUE(scheduler().create_task());
  EXPECT_THAT(system->commands(), ElementsAre(daily));
  EXPECT_THAT(log.messages(1),
              ElementsAre("Scheduling task (UpgradeVelmoraRecorderVMS) for automatic package upgrades, if "
                          "necessary | Options: /SC DAILY  /ST 03:30 \"{}\" %X%"));
}

TEST_F(ChocoUpgradeTaskScheduler, LeavesTheCommandEndingInABlankWhenTheOptionsAreEmpty) {
  const std::string without_options =
      "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR \"\\\"C:\\Program "
      "Files "
      "(x86)\\Zant\\choco.exe\\\" upgrade zant-velmora -y --ignore-http-cache\" ";
  system->on(without_options, 1);

  settings.set("package.choco.upgrade_scheduler.options", "");

  EXPECT_FALSE(scheduler().create_task());
  EXPECT_THAT(system->commands(), ElementsAre(without_options));
  EXPECT_THAT(log.messages(1),
              ElementsAre("Scheduling task (UpgradeVelmoraRecorderVMS) for automatic package upgrades, if "
                          "necessary | Options: "));
}

TEST_F(ChocoUpgradeTaskScheduler, ReadsTheOptionsOnceAtConstruction) {
  system->on(CREATE, 0);
  auto early = scheduler();

  settings.set("package.choco.upgrade_scheduler.options", "/SC DAILY");

  EXPECT_TRUE(early.create_task());
  EXPECT_THAT(system->commands(), ElementsAre(CREATE));
}

TEST_F(ChocoUpgradeTaskScheduler, DeletesTheTask) {
  system->on(QUERY, 0);
  system->on(DELETE_TASK, 0);

  EXPECT_TRUE(scheduler().delete_task());
  EXPECT_THAT(system->commands(), ElementsAre(QUERY, DELETE_TASK));
  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{
                                 3, "Choco_Upgrade_Task_Scheduler",
                                 "Removing scheduled task UpgradeVelmoraRecorderVMS for automatic package "
                                 "upgrades"}));
}

TEST_F(ChocoUpgradeTaskScheduler, OnlyAsksForATaskThatIsNotThere) {
  system->on(QUERY, 1, "ERROR: The system cannot find the file specified.\r\n");

  EXPECT_TRUE(scheduler().delete_task());
  EXPECT_THAT(system->commands(), ElementsAre(QUERY));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoUpgradeTaskScheduler, ReportsATaskThatCannotBeDeleted) {
  system->on(QUERY, 0);
  system->on(DELETE_TASK, 1);

  EXPECT_FALSE(scheduler().delete_task());
  EXPECT_THAT(
      log.records(),
      ElementsAre(Captured_Record{3, "Choco_Upgrade_Task_Scheduler",
                                  "Removing scheduled task UpgradeVelmoraRecorderVMS for automatic package "
                                  "upgrades"},
                  Captured_Record{5, "Choco_Upgrade_Task_Scheduler",
                                  "Failed to remove scheduled task UpgradeVelmoraRecorderVMS"}));
}

TEST_F(ChocoUpgradeTaskScheduler, AnnouncesTheTaskBeforeItCreatesIt) {
  Recorded_Host host;
  host.system->on(CREATE, 0);

  Choco_Upgrade_Task_Scheduler(host.system, settings, EXE_PATH).create_task();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("log 1 Choco_Upgrade_Task_Scheduler: Scheduling task (UpgradeVelmoraRecorderVMS) "
                  "for automatic package upgrades, if necessary | Options: /ST 01:00 /SC WEEKLY /D SUN",
                  "run " + CREATE));
}

TEST_F(ChocoUpgradeTaskScheduler, AnnouncesTheRemovalBetweenAskingForTheTaskAndDeletingIt) {
  Recorded_Host host;
  host.system->on(QUERY, 0);
  host.system->on(DELETE_TASK, 0);

  Choco_Upgrade_Task_Scheduler(host.system, settings, EXE_PATH).delete_task();

  EXPECT_THAT(host.take_journal(), ElementsAre("run " + QUERY,
                                               "log 3 Choco_Upgrade_Task_Scheduler: Removing scheduled task "
                                               "UpgradeVelmoraRecorderVMS for automatic package upgrades",
                                               "run " + DELETE_TASK));
}

TEST_F(ChocoUpgradeTaskScheduler, TakesAPathThatLooksLikeAFormatAsItStands) {
  const std::string create =
      "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR "
      "\"\\\"C:\\{}\\{0}\\choco.exe\\\" upgrade zant-velmora -y --ignore-http-cache\" "
      "/ST 01:00 /SC WEEKLY /D SUN";
  system->on(create, 0);

  EXPECT_TRUE(Choco_Upgrade_Task_Scheduler(system, settings, "C:\\{}\\{0}\\choco.exe").create_task());

  EXPECT_THAT(system->commands(), ElementsAre(create));
}

TEST_F(ChocoUpgradeTaskScheduler, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const auto& command : {CREATE, QUERY}) {
    system->on(command, 0);
    system->during(command, [] { throw std::domain_error("no shell"); });
  }

  EXPECT_THROW(scheduler().create_task(), std::domain_error);
  EXPECT_THROW(scheduler().delete_task(), std::domain_error);
}

}  // namespace
