#include <zant/velmora/file_generation/apt_package_config_file_generator.hpp>

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

static_assert(std::is_base_of_v<Package_Config_File_Generator, APT_Package_Config_File_Generator>);

constexpr bool ENABLED = true;
constexpr bool DISABLED = false;

class AptPackageConfigFileGenerator : public testing::Test {
 protected:
  AptPackageConfigFileGenerator() {
    for (const char* name : {"20auto-upgrades", "50unattended-upgrades", "75lowerspeed"}) {
      host.files->add_file(std::string("/apt/templates/") + name + ".template", "<{}>");
    }
    host.files->add_file("/apt/templates/zant-velmora.list.template", "<{}> <{}> <{}>");
    host.files->add_file("/apt/templates/zant-on-calendar.conf.template", "<{}>");
    host.files->add_file("/apt/templates/zant-randomized-delay.conf.template", "<{}>");
    timer_manager->timer_config = {{"/apt/zant-on-calendar.conf", "/timer.d/1", "daily"},
                                   {"/apt/zant-randomized-delay.conf", "/timer.d/2", "1h"},
                                   "/timer.d"};
    host.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
  }

  APT_Package_Config_File_Generator make_generator(bool enabled = ENABLED) {
    const APT_Repo_Config repo_config(host.system, settings, "/staging", Init::systemd);
    const APT_Unattended_Upgrade_Config upgrade_config(settings, "/staging", timer_manager, enabled);
    APT_Package_Config_File_Generator generator(host.files, "/apt", repo_config, upgrade_config);
    host.take_journal();
    return generator;
  }

  Recorded_Host host;
  Recorded_Settings settings{{"package.apt.repo.url", "https://host/apt/"},
                             {"package.apt.repo.channel", "testing"},
                             {"package.apt.repo.origins_pattern", "o=Vendor"},
                             {"package.apt.repo.bandwidth_limit", "250"}};
  std::shared_ptr<Fake_Upgrade_Timer_Manager> timer_manager =
      std::make_shared<Fake_Upgrade_Timer_Manager>(host.journal());
};

TEST_F(AptPackageConfigFileGenerator, OnlyMapsTheTemplatesAtConstruction) {
  const APT_Repo_Config repo_config(host.system, settings, "/staging", Init::systemd);
  const APT_Unattended_Upgrade_Config upgrade_config(settings, "/staging", timer_manager, ENABLED);
  host.take_journal();

  const APT_Package_Config_File_Generator generator(host.files, "/apt", repo_config, upgrade_config);

  EXPECT_THAT(host.take_journal(), ElementsAre("list_files /apt/templates .template"));
}

TEST_F(AptPackageConfigFileGenerator, RendersTheSourceListFromUrlChannelAndArchitecture) {
  make_generator().generate_repo_files();

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /apt/templates/zant-velmora.list.template (0)",
                                               "write_file /apt/zant-velmora.list (0)"));
  EXPECT_EQ(host.files->contents("/apt/zant-velmora.list"), "<https://host/apt/> <testing> <amd64>");
}

TEST_F(AptPackageConfigFileGenerator, RendersTheSourceListAlsoWhenAutomaticUpgradesAreOff) {
  make_generator(DISABLED).generate_repo_files();

  EXPECT_EQ(host.files->contents("/apt/zant-velmora.list"), "<https://host/apt/> <testing> <amd64>");
}

TEST_F(AptPackageConfigFileGenerator, RendersTheOriginsAndThenTheLimitButNotTheReadyMadeFile) {
  make_generator().generate_unattended_upgrade_service_files();

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /apt/templates/50unattended-upgrades.template (0)",
                                               "write_file /apt/50unattended-upgrades (0)",
                                               "read_file /apt/templates/75lowerspeed.template (0)",
                                               "write_file /apt/75lowerspeed (0)"));
  EXPECT_EQ(host.files->contents("/apt/50unattended-upgrades"), "<\"o=Vendor\";>");
  EXPECT_EQ(host.files->contents("/apt/75lowerspeed"), "<250>");
}

TEST_F(AptPackageConfigFileGenerator, GivesTheLimitToItsTemplateAsANumber) {
  host.files->add_file("/apt/templates/75lowerspeed.template", "<{:d}>");

  make_generator().generate_unattended_upgrade_service_files();

  EXPECT_EQ(host.files->contents("/apt/75lowerspeed"), "<250>");
}

TEST_F(AptPackageConfigFileGenerator, RendersNoServiceFileWhenAutomaticUpgradesAreOff) {
  make_generator(DISABLED).generate_unattended_upgrade_service_files();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptPackageConfigFileGenerator, RendersTheDropInsOfTheTimerManagersRecord) {
  make_generator().generate_upgrade_timer_overrides();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("remove [/apt/zant-on-calendar.conf, /apt/zant-randomized-delay.conf]",
                          "read_file /apt/templates/zant-on-calendar.conf.template (0)",
                          "write_file /apt/zant-on-calendar.conf (0)",
                          "read_file /apt/templates/zant-randomized-delay.conf.template (0)",
                          "write_file /apt/zant-randomized-delay.conf (0)"));
  EXPECT_EQ(host.files->contents("/apt/zant-on-calendar.conf"), "<daily>");
  EXPECT_EQ(host.files->contents("/apt/zant-randomized-delay.conf"), "<1h>");
}

TEST_F(AptPackageConfigFileGenerator, LeavesStagedDropInsInPlaceWhenAutomaticUpgradesAreOff) {
  host.files->add_file("/apt/zant-on-calendar.conf", "earlier");

  make_generator(DISABLED).generate_upgrade_timer_overrides();

  EXPECT_THAT(host.take_journal(), IsEmpty());
  EXPECT_EQ(host.files->contents("/apt/zant-on-calendar.conf"), "earlier");
}

TEST_F(AptPackageConfigFileGenerator, LeavesStagedDropInsInPlaceWithoutATimerManager) {
  host.files->add_file("/apt/zant-on-calendar.conf", "earlier");
  timer_manager = nullptr;

  make_generator().generate_upgrade_timer_overrides();

  EXPECT_THAT(host.take_journal(), IsEmpty());
  EXPECT_EQ(host.files->contents("/apt/zant-on-calendar.conf"), "earlier");
}

TEST_F(AptPackageConfigFileGenerator, RendersFromCopiesOfTheRecordsItWasGiven) {
  APT_Repo_Config repo_config(host.system, settings, "/staging", Init::systemd);
  APT_Unattended_Upgrade_Config upgrade_config(settings, "/staging", timer_manager, ENABLED);
  APT_Package_Config_File_Generator generator(host.files, "/apt", repo_config, upgrade_config);
  repo_config.source_list.url = "changed";
  upgrade_config.service.bandwidth_limit = 1;
  upgrade_config.enabled = DISABLED;

  generator.generate_repo_files();
  generator.generate_unattended_upgrade_service_files();

  EXPECT_EQ(host.files->contents("/apt/zant-velmora.list"), "<https://host/apt/> <testing> <amd64>");
  EXPECT_EQ(host.files->contents("/apt/75lowerspeed"), "<250>");
}

TEST_F(AptPackageConfigFileGenerator, DoesNotUseValuesAsFormats) {
  settings.set("package.apt.repo.url", "https://{}/");
  settings.set("package.apt.repo.channel", "{0}");
  settings.set("package.apt.repo.origins_pattern", "o={");
  timer_manager->timer_config.on_calendar.value = "{}";

  auto generator = make_generator();
  generator.generate_repo_files();
  generator.generate_unattended_upgrade_service_files();
  generator.generate_upgrade_timer_overrides();

  EXPECT_EQ(host.files->contents("/apt/zant-velmora.list"), "<https://{}/> <{0}> <amd64>");
  EXPECT_EQ(host.files->contents("/apt/50unattended-upgrades"), "<\"o={\";>");
  EXPECT_EQ(host.files->contents("/apt/zant-on-calendar.conf"), "<{}>");
}

TEST_F(AptPackageConfigFileGenerator, NamesTheFileThatCouldNotBeWritten) {
  host.files->fail("write_file /apt/zant-velmora.list (0)");
  host.files->fail("write_file /apt/50unattended-upgrades (0)");
  auto generator = make_generator();

  expect_host_step_failed([&] { generator.generate_repo_files(); },
                          "Failed to generate file from template: zant-velmora.list");
  expect_host_step_failed([&] { generator.generate_unattended_upgrade_service_files(); },
                          "Failed to generate file from template: 50unattended-upgrades");
  EXPECT_FALSE(host.files->has("/apt/75lowerspeed")) << "went on after the failure";
}

TEST_F(AptPackageConfigFileGenerator, MissesATemplateThatIsNotThere) {
  host.files->remove(Filesystem::Path("/apt/templates/75lowerspeed.template"));
  auto generator = make_generator();

  EXPECT_THROW(generator.generate_unattended_upgrade_service_files(), std::out_of_range);

  EXPECT_EQ(host.files->contents("/apt/50unattended-upgrades"), "<\"o=Vendor\";>");
}

}  // namespace
