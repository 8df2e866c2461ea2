#include <zant/velmora/file_generation/dnf_package_config_file_generator.hpp>

#include <support/fake_upgrade_timer_manager.hpp>
#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<Package_Config_File_Generator, DNF_Package_Config_File_Generator>);

class DnfPackageConfigFileGenerator : public testing::Test {
 protected:
  DnfPackageConfigFileGenerator() {
    host.files->add_file("/staging/config-files/dnf/templates/quorvane.repo.template", "{}|{}|{}|{}|{}");
    host.files->add_file("/staging/config-files/dnf/templates/zant-on-calendar.conf.template", "calendar {}");
    host.files->add_file("/staging/config-files/dnf/templates/zant-randomized-delay.conf.template",
                         "delay {}");
    manager->timer_config.on_calendar.source = "/staging/config-files/dnf/zant-on-calendar.conf";
    manager->timer_config.randomized_delay.source = "/staging/config-files/dnf/zant-randomized-delay.conf";
  }

  DNF_Package_Config_File_Generator make_generator(bool enabled) {
    DNF_Package_Config_File_Generator generator(host.files, "/staging/config-files/dnf",
                                                DNF_Repo_Config(settings, "/staging"),
                                                DNF_Unattended_Upgrade_Config(manager, enabled));
    host.take_journal();
    return generator;
  }

  Recorded_Host host;
  Recorded_Settings settings{{"package.dnf.repo.baseurl", "http://mirror.example/yum/"},
                             {"package.dnf.repo.gpg_key", "http://mirror.example/key.gpg"},
                             {"package.dnf.repo.throttle", "250k"}};
  std::shared_ptr<Fake_Upgrade_Timer_Manager> manager = std::make_shared<Fake_Upgrade_Timer_Manager>();
};

TEST_F(DnfPackageConfigFileGenerator, OnlyMapsTheTemplatesAtConstruction) {
  DNF_Package_Config_File_Generator generator(host.files, "/staging/config-files/dnf",
                                              DNF_Repo_Config(settings, "/staging"),
                                              DNF_Unattended_Upgrade_Config(manager, true));

  EXPECT_THAT(host.take_journal(), ElementsAre("list_files /staging/config-files/dnf/templates .template"));
}

TEST_F(DnfPackageConfigFileGenerator, RendersTheRepositoryFileWithItsValuesInOrder) {
  auto generator = make_generator(true);

  generator.generate_repo_files();

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/quorvane.repo"),
            "quorvane|Velmora Recorder|http://mirror.example/yum/|http://mirror.example/key.gpg|250k");
  EXPECT_THAT(host.take_journal(),
              ElementsAre("read_file /staging/config-files/dnf/templates/quorvane.repo.template (0)",
                          "write_file /staging/config-files/dnf/quorvane.repo (0)"));
}

TEST_F(DnfPackageConfigFileGenerator, RendersTheRepositoryFileEvenWhenAutomaticUpgradesAreOff) {
  auto generator = make_generator(false);

  generator.generate_repo_files();

  EXPECT_TRUE(host.files->has("/staging/config-files/dnf/quorvane.repo"));
}

TEST_F(DnfPackageConfigFileGenerator, InsertsValuesWithBracesAsTheyAre) {
  settings.set("package.dnf.repo.baseurl", "http://mirror.example/{}/{2}/{{x}}/");
  auto generator = make_generator(true);

  generator.generate_repo_files();

  EXPECT_EQ(
      host.files->contents("/staging/config-files/dnf/quorvane.repo"),
      "quorvane|Velmora Recorder|http://mirror.example/{}/{2}/{{x}}/|http://mirror.example/key.gpg|250k");
}

TEST_F(DnfPackageConfigFileGenerator, ReportsARepositoryFileThatCannotBeWritten) {
  auto generator = make_generator(true);
  host.files->fail("write_file /staging/config-files/dnf/quorvane.repo (0)");

  expect_host_step_failed([&generator] { generator.generate_repo_files(); },
                          "Failed to generate file from template: quorvane.repo");
}

TEST_F(DnfPackageConfigFileGenerator, ThrowsOutOfRangeForAMissingRepositoryTemplate) {
  host.files->remove("/staging/config-files/dnf/templates/quorvane.repo.template");
  auto generator = make_generator(true);

  EXPECT_THROW(generator.generate_repo_files(), std::out_of_range);
}

TEST_F(DnfPackageConfigFileGenerator, TouchesNoFileForTheUpgradeService) {
  for (const bool enabled : {true, false}) {
    auto generator = make_generator(enabled);

    generator.generate_unattended_upgrade_service_files();

    EXPECT_THAT(host.take_journal(), IsEmpty());
  }
}

TEST_F(DnfPackageConfigFileGenerator, RendersBothDropInsAfterRemovingTheStagedOnes) {
  manager->timer_config.on_calendar.value = "Sun 03:00";
  manager->timer_config.randomized_delay.value = "15m";
  auto generator = make_generator(true);

  generator.generate_upgrade_timer_overrides();

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-on-calendar.conf"), "calendar Sun 03:00");
  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-randomized-delay.conf"), "delay 15m");
  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("remove [/staging/config-files/dnf/zant-on-calendar.conf, "
                  "/staging/config-files/dnf/zant-randomized-delay.conf]",
                  "read_file /staging/config-files/dnf/templates/zant-on-calendar.conf.template (0)",
                  "write_file /staging/config-files/dnf/zant-on-calendar.conf (0)",
                  "read_file /staging/config-files/dnf/templates/zant-randomized-delay.conf.template (0)",
                  "write_file /staging/config-files/dnf/zant-randomized-delay.conf (0)"));
}

TEST_F(DnfPackageConfigFileGenerator, OnlyRemovesTheStagedDropInsWhenNeitherHasAValue) {
  host.files->add_file("/staging/config-files/dnf/zant-on-calendar.conf", "stale");
  host.files->add_file("/staging/config-files/dnf/zant-randomized-delay.conf", "stale");
  auto generator = make_generator(true);

  generator.generate_upgrade_timer_overrides();

  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-on-calendar.conf"));
  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-randomized-delay.conf"));
  EXPECT_THAT(host.take_journal(), ElementsAre("remove [/staging/config-files/dnf/zant-on-calendar.conf, "
                                               "/staging/config-files/dnf/zant-randomized-delay.conf]"));
}

TEST_F(DnfPackageConfigFileGenerator, LeavesOnlyTheDelayWhenOnlyTheDelayIsSet) {
  host.files->add_file("/staging/config-files/dnf/zant-on-calendar.conf", "stale");
  manager->timer_config.randomized_delay.value = "15m";
  auto generator = make_generator(true);

  generator.generate_upgrade_timer_overrides();

  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-on-calendar.conf"));
  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-randomized-delay.conf"), "delay 15m");
}

TEST_F(DnfPackageConfigFileGenerator, LeavesEarlierDropInsInPlaceWhenAutomaticUpgradesAreOff) {
  host.files->add_file("/staging/config-files/dnf/zant-on-calendar.conf", "earlier");
  manager->timer_config.on_calendar.value = "Sun 03:00";
  auto generator = make_generator(false);

  generator.generate_upgrade_timer_overrides();

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-on-calendar.conf"), "earlier");
  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(DnfPackageConfigFileGenerator, LeavesNoDropInStagedWhenTheFirstCannotBeWritten) {
  host.files->add_file("/staging/config-files/dnf/zant-on-calendar.conf", "earlier");
  host.files->add_file("/staging/config-files/dnf/zant-randomized-delay.conf", "earlier");
  manager->timer_config.on_calendar.value = "Sun 03:00";
  manager->timer_config.randomized_delay.value = "15m";
  auto generator = make_generator(true);
  host.files->fail("write_file /staging/config-files/dnf/zant-on-calendar.conf (0)");

  expect_host_step_failed([&generator] { generator.generate_upgrade_timer_overrides(); },
                          "Failed to generate file from template: zant-on-calendar.conf");

  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-on-calendar.conf"));
  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-randomized-delay.conf"));
}

TEST_F(DnfPackageConfigFileGenerator, ReadsTheTimersRecordWhenItGenerates) {
  auto generator = make_generator(true);
  manager->timer_config.randomized_delay.value = "1h";

  generator.generate_upgrade_timer_overrides();

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-randomized-delay.conf"), "delay 1h");
}

TEST_F(DnfPackageConfigFileGenerator, RendersFromCopiesOfTheRecordsItWasGiven) {
  DNF_Repo_Config repo_config(settings, "/staging");
  DNF_Unattended_Upgrade_Config upgrade_config(manager, true);
  DNF_Package_Config_File_Generator generator(host.files, "/staging/config-files/dnf", repo_config,
                                              upgrade_config);
  manager->timer_config.randomized_delay.value = "15m";
  repo_config.base_url = "changed";
  upgrade_config.enabled = false;

  generator.generate_repo_files();
  generator.generate_upgrade_timer_overrides();

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/quorvane.repo"),
            "quorvane|Velmora Recorder|http://mirror.example/yum/|http://mirror.example/key.gpg|250k");
  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-randomized-delay.conf"), "delay 15m");
}

}  // namespace
