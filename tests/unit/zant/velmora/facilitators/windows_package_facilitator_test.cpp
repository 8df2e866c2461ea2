#include <zant/velmora/facilitators/windows_package_facilitator.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_settings.hpp>
#include <support/stub_package_config.hpp>
#include <support/throws_error.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(!std::is_polymorphic_v<Windows_Package_Facilitator>);

// The platform's own separator joins the path.
const std::string SEPARATOR(1, static_cast<char>(boost::filesystem::path::preferred_separator));
const std::string EXE_PATH = "C:\\Base (x86)" + SEPARATOR + "chocolatey" + SEPARATOR + "choco.exe";
const std::string CREATE_TASK =
    "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR \"\\\"" + EXE_PATH +
    "\\\" upgrade zant-velmora -y --ignore-http-cache\" /SC DAILY";

class WindowsPackageFacilitator : public testing::Test {
 protected:
  WindowsPackageFacilitator() {
    settings.set("package.choco.repo.source_location", "https://nuget.test/");
    settings.set("package.choco.upgrade_scheduler.options", "/SC DAILY");
  }

  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  Recorded_Settings settings;
  Captured_Log log;
  Windows_Package_Facilitator facilitator{system, settings, "C:\\Base (x86)"};
};

TEST_F(WindowsPackageFacilitator, NeitherRunsNorReadsAnythingAtConstruction) {
  EXPECT_THAT(system->commands(), IsEmpty());
  EXPECT_THAT(settings.keys(), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(WindowsPackageFacilitator, ReadsTheSourceAndThenTheScheduleAndRunsNothing) {
  facilitator.create_package_config(true);

  EXPECT_THAT(settings.keys(),
              ElementsAre("package.choco.repo.source_location", "package.choco.upgrade_scheduler.options"));
  EXPECT_THAT(system->commands(), IsEmpty());
}

TEST_F(WindowsPackageFacilitator, BuildsAChocolateyConfigurationForTheExecutableBelowTheBaseDirectory) {
  const std::string source_list = "\"" + EXE_PATH + "\" source list";
  system->on(source_list, 0, "zant-velmora - https://nuget.test/ | Priority 0\r\n");
  system->on(CREATE_TASK, 0);

  const auto config = facilitator.create_package_config(true);

  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->type(), Package_Config_Type::Choco);
  config->setup_repo_if_necessary();
  config->setup_unattended_upgrades_if_necessary();
  EXPECT_THAT(system->commands(), ElementsAre(source_list, CREATE_TASK));
}

TEST_F(WindowsPackageFacilitator, HandsTheWishForAutomaticUpgradesOn) {
  facilitator.create_package_config(false)->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(system->commands(), IsEmpty());
}

TEST_F(WindowsPackageFacilitator, ReadsTheSettingsAfreshForEveryConfiguration) {
  const auto before = facilitator.create_package_config(true);
  settings.set("package.choco.upgrade_scheduler.options", "/SC WEEKLY");
  const std::string weekly =
      "schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"UpgradeVelmoraRecorderVMS\" /TR \"\\\"" + EXE_PATH +
      "\\\" upgrade zant-velmora -y --ignore-http-cache\" /SC WEEKLY";
  system->on(CREATE_TASK, 0);
  system->on(weekly, 0);

  facilitator.create_package_config(true)->setup_unattended_upgrades_if_necessary();
  before->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(system->commands(), ElementsAre(weekly, CREATE_TASK));
}

TEST_F(WindowsPackageFacilitator, BuildsThePackageOverTheGivenConfiguration) {
  const std::string pin_list = "\"" + EXE_PATH + "\" pin list";
  system->on(pin_list, 0, "zant-velmora|26.9.0\r\n");
  const auto config = std::make_shared<Stub_Package_Config>(Package_Config_Type::Choco);

  const auto package = facilitator.create_package(config);

  ASSERT_NE(package, nullptr);
  EXPECT_TRUE(package->locked());
  package->initialize_repo_if_necessary();
  EXPECT_EQ(config->repo_setups, 1);
  EXPECT_THAT(system->commands(), ElementsAre(pin_list));
}

TEST_F(WindowsPackageFacilitator, LetsConfigurationAndPackageShareOneWrapper) {
  // The test, the facilitator and its wrapper; a second wrapper would keep the command service once more.
  ASSERT_EQ(system.use_count(), 3);

  const auto config = facilitator.create_package_config(true);
  EXPECT_EQ(system.use_count(), 4) << "only the scheduler comes on top";

  const auto package = facilitator.create_package(config);
  EXPECT_EQ(system.use_count(), 4);
  EXPECT_EQ(config.use_count(), 2) << "the package keeps its configuration";
}

TEST_F(WindowsPackageFacilitator, RefusesAConfigurationOfAnotherFamily) {
  for (const auto type : {Package_Config_Type::None, Package_Config_Type::APT, Package_Config_Type::DNF}) {
    expect_throws<Backend_Error<std::runtime_error>>(
        [&] { facilitator.create_package(std::make_shared<Stub_Package_Config>(type)); },
        "Invalid package configuration", 204800);
  }
}

TEST_F(WindowsPackageFacilitator, RefusesAnEmptyConfiguration) {
  expect_throws<Backend_Error<std::runtime_error>>([&] { facilitator.create_package(nullptr); },
                                                   "Invalid package configuration", 204800);
}

TEST_F(WindowsPackageFacilitator, LetsTheExceptionOfTheSettingsThrough) {
  settings.set("package.choco.upgrade_scheduler.options", "${package.choco.upgrade_scheduler.options}");

  EXPECT_THROW(facilitator.create_package_config(true), Poco::CircularReferenceException);
}

// --- The whole ------------------------------------------------------------------------------------------

TEST_F(WindowsPackageFacilitator, CarriesAHostWithoutOurSourceThroughAWholeCycle) {
  const std::string source_list = "\"" + EXE_PATH + "\" source list";
  const std::string add_source = "\"" + EXE_PATH + "\" source add -n zant-velmora -s https://nuget.test/";
  const std::string list_installed = "\"" + EXE_PATH + "\" list -e zant-velmora";
  const std::string pin_list = "\"" + EXE_PATH + "\" pin list";
  const std::string unpin = "\"" + EXE_PATH + "\" pin remove -n zant-velmora";
  system->on(source_list, 0);
  system->on(add_source, 0);
  system->on(list_installed, 0, "zant-velmora 26.9.0\r\n");
  system->on(pin_list, 0, "zant-velmora|26.9.0\r\n");
  system->on(unpin, 0);
  system->on(CREATE_TASK, 0);
  Package_Minder minder(facilitator.create_package(facilitator.create_package_config(true)));

  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(system->commands(),
              ElementsAre(source_list, add_source, list_installed, pin_list, unpin, CREATE_TASK));
}

TEST_F(WindowsPackageFacilitator, TakesEachStepOfAPurgeEvenIfTheOnesBeforeFailed) {
  const std::string source_list = "\"" + EXE_PATH + "\" source list";
  const std::string remove_source = "\"" + EXE_PATH + "\" source remove -n zant-velmora";
  const std::string clear_cache = "\"" + EXE_PATH + "\" cache remove";
  const std::string query_task = "schtasks.exe /QUERY /TN \"UpgradeVelmoraRecorderVMS\"";
  const std::string delete_task = "schtasks.exe /DELETE /F /TN \"UpgradeVelmoraRecorderVMS\"";
  system->on(source_list, 0, "zant-velmora - https://nuget.test/ | Priority 0\r\n");
  system->on(remove_source, 1);
  system->on(clear_cache, 1);
  system->on(query_task, 0);
  system->on(delete_task, 0);

  facilitator.create_package_config(false)->purge_all_configurations();

  EXPECT_THAT(system->commands(),
              ElementsAre(source_list, remove_source, clear_cache, query_task, delete_task));
}

}  // namespace
