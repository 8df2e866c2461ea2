#include <zant/velmora/file_generation/package_config_file_generator.hpp>

#include <zant/velmora/upgrade_timer/linux_upgrade_timer_manager.hpp>

#include <support/fake_upgrade_timer_command_runner.hpp>
#include <support/recorded_host.hpp>
#include <support/throws_error.hpp>
#include <support/virtual_slot.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using test_support::Fake_Upgrade_Timer_Command_Runner;
using test_support::Recorded_Host;
using test_support::virtual_slot;
using testing::ElementsAre;

namespace {

static_assert(std::is_abstract_v<Package_Config_File_Generator>);
static_assert(std::has_virtual_destructor_v<Package_Config_File_Generator>);

class Bare_Generator : public Package_Config_File_Generator {
 public:
  using Package_Config_File_Generator::generate_upgrade_timer_overrides_;
  using Package_Config_File_Generator::Package_Config_File_Generator;

  void generate_repo_files() override {}
  void generate_unattended_upgrade_service_files() override {}
  void generate_upgrade_timer_overrides() override {}
};

class TimerOverrideGeneration : public testing::Test {
 protected:
  TimerOverrideGeneration() {
    host.files->add_file("/staging/templates/zant-on-calendar.conf.template", "OnCalendar={}");
    host.files->add_file("/staging/templates/zant-randomized-delay.conf.template", "RandomizedDelaySec={}");
  }

  void generate(const std::string& calendar, const std::string& delay) {
    Bare_Generator generator(host.files, "/staging");
    host.take_journal();
    generator.generate_upgrade_timer_overrides_({{"/staging/zant-on-calendar.conf", "/timer.d/1", calendar},
                                                 {"/staging/zant-randomized-delay.conf", "/timer.d/2", delay},
                                                 "/timer.d"});
  }

  Recorded_Host host;
};

TEST(PackageConfigFileGeneratorInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Package_Config_File_Generator::generate_repo_files), 2);
  EXPECT_EQ(virtual_slot(&Package_Config_File_Generator::generate_unattended_upgrade_service_files), 3);
  EXPECT_EQ(virtual_slot(&Package_Config_File_Generator::generate_upgrade_timer_overrides), 4);
}

TEST(PackageConfigFileGenerator, MapsTheTemplatesOfItsDirectoryAtConstruction) {
  Recorded_Host host;

  const Bare_Generator generator(host.files, "/staging/config-files/apt");

  EXPECT_THAT(host.take_journal(), ElementsAre("list_files /staging/config-files/apt/templates .template"));
}

TEST_F(TimerOverrideGeneration, RemovesBothStagedDropInsThenRendersTheCalendarThenTheDelay) {
  generate("daily", "1h");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/staging/zant-on-calendar.conf, /staging/zant-randomized-delay.conf]",
                          "read_file /staging/templates/zant-on-calendar.conf.template (0)",
                          "write_file /staging/zant-on-calendar.conf (0)",
                          "read_file /staging/templates/zant-randomized-delay.conf.template (0)",
                          "write_file /staging/zant-randomized-delay.conf (0)"));
  EXPECT_EQ(host.files->contents("/staging/zant-on-calendar.conf"), "OnCalendar=daily");
  EXPECT_EQ(host.files->contents("/staging/zant-randomized-delay.conf"), "RandomizedDelaySec=1h");
}

TEST_F(TimerOverrideGeneration, OnlyRemovesTheStagedDropInsWhenNeitherHasAValue) {
  host.files->add_file("/staging/zant-on-calendar.conf", "stale");
  host.files->add_file("/staging/zant-randomized-delay.conf", "stale");

  generate("", "");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/staging/zant-on-calendar.conf, /staging/zant-randomized-delay.conf]"));
  EXPECT_FALSE(host.files->has("/staging/zant-on-calendar.conf"));
  EXPECT_FALSE(host.files->has("/staging/zant-randomized-delay.conf"));
}

TEST_F(TimerOverrideGeneration, LeavesOnlyTheDelayWhenOnlyThatHasAValue) {
  host.files->add_file("/staging/zant-on-calendar.conf", "stale");

  generate("", "1h");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/staging/zant-on-calendar.conf, /staging/zant-randomized-delay.conf]",
                          "read_file /staging/templates/zant-randomized-delay.conf.template (0)",
                          "write_file /staging/zant-randomized-delay.conf (0)"));
  EXPECT_FALSE(host.files->has("/staging/zant-on-calendar.conf"));
  EXPECT_EQ(host.files->contents("/staging/zant-randomized-delay.conf"), "RandomizedDelaySec=1h");
}

TEST_F(TimerOverrideGeneration, LeavesOnlyTheCalendarWhenOnlyThatHasAValue) {
  host.files->add_file("/staging/zant-randomized-delay.conf", "stale");

  generate("daily", "");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/staging/zant-on-calendar.conf, /staging/zant-randomized-delay.conf]",
                          "read_file /staging/templates/zant-on-calendar.conf.template (0)",
                          "write_file /staging/zant-on-calendar.conf (0)"));
  EXPECT_EQ(host.files->contents("/staging/zant-on-calendar.conf"), "OnCalendar=daily");
  EXPECT_FALSE(host.files->has("/staging/zant-randomized-delay.conf"));
}

TEST_F(TimerOverrideGeneration, RendersTheTemplatesThatTheStagedFilesAreNamedAfter) {
  host.files->add_file("/staging/templates/when.template", "OnCalendar={}");
  host.files->add_file("/staging/templates/spread.timer.template", "RandomizedDelaySec={}");
  Bare_Generator generator(host.files, "/staging");
  host.take_journal();

  generator.generate_upgrade_timer_overrides_(
      {{"/elsewhere/when", "/timer.d/1", "daily"}, {"/elsewhere/spread.timer", "/timer.d/2", "1h"}, ""});

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/elsewhere/when, /elsewhere/spread.timer]",
                          "read_file /staging/templates/when.template (0)", "write_file /staging/when (0)",
                          "read_file /staging/templates/spread.timer.template (0)",
                          "write_file /staging/spread.timer (0)"));
}

TEST_F(TimerOverrideGeneration, LeavesNothingStagedWhenATemplateIsMissing) {
  host.files->remove(Filesystem::Path("/staging/templates/zant-on-calendar.conf.template"));
  host.files->add_file("/staging/zant-on-calendar.conf", "stale");
  host.files->add_file("/staging/zant-randomized-delay.conf", "stale");

  EXPECT_THROW(generate("daily", "1h"), std::out_of_range);

  EXPECT_FALSE(host.files->has("/staging/zant-on-calendar.conf"));
  EXPECT_FALSE(host.files->has("/staging/zant-randomized-delay.conf"));
}

TEST_F(TimerOverrideGeneration, NamesTheTemplateThatCouldNotBeRendered) {
  host.files->add_file("/staging/zant-randomized-delay.conf", "stale");
  host.files->fail("write_file /staging/zant-randomized-delay.conf (0)");

  expect_host_step_failed([this] { generate("daily", "1h"); },
                          "Failed to generate file from template: zant-randomized-delay.conf");

  EXPECT_FALSE(host.files->has("/staging/zant-randomized-delay.conf"));
}

TEST_F(TimerOverrideGeneration, MakesTheTimerManagerTakeDropInsOutAfterAFailure) {
  const Upgrade_Timer_Manager::Timer_Config timer_config{
      {"/staging/zant-on-calendar.conf", "/timer.d/calendar", "daily"},
      {"/staging/zant-randomized-delay.conf", "/timer.d/delay", "1h"},
      "/timer.d"};
  host.files->add_file("/staging/zant-on-calendar.conf", "OnCalendar=weekly");
  host.files->add_file("/timer.d/calendar", "OnCalendar=weekly");
  host.files->fail("write_file /staging/zant-on-calendar.conf (0)");
  EXPECT_THROW(Bare_Generator(host.files, "/staging").generate_upgrade_timer_overrides_(timer_config),
               Internal_Error<std::runtime_error>);

  Linux_Upgrade_Timer_Manager(host.files, std::make_shared<Fake_Upgrade_Timer_Command_Runner>(), timer_config)
      .initialize_timer();

  EXPECT_FALSE(host.files->has("/timer.d"));
}

}  // namespace
