#include <zant/velmora/choco/choco_exe.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_host.hpp>

#include <zant/velmora/package_minder/velmora_version_info.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string PIN_LIST = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin list";
const std::string PIN = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin add -n zant-velmora";
const std::string UNPIN = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin remove -n zant-velmora";
const std::string SOURCE_LIST = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source list";
const std::string ADD_SOURCE =
    "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source add -n zant-velmora -s "
    "https://nuget.test/index.json";
const std::string REMOVE_SOURCE =
    "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source remove -n zant-velmora";
const std::string LIST_INSTALLED = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" list -e zant-velmora";
const std::string CLEAR_CACHE = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" cache remove";
// The version is the running product's own and changes with every release.
const std::string ADOPT = "\"C:\\Program Files (x86)\\Zant\\choco.exe\" install zant-velmora -y --version " +
                          std::string(Velmora_Version_Info::VERSION) +
                          " --skip-powershell --ignore-http-cache";

const std::string LOCATION = "https://nuget.test/index.json";
const std::string OTHER_SOURCES =
    "Chocolatey v2.2.2\r\n"
    "chocolatey - https://community.test/api/v2/ | Priority 0|Bypass Proxy - False|Self-Service - "
    "False|Admin Only - False.\r\n";
const std::string OUR_SOURCE =
    OTHER_SOURCES +
    "zant-velmora - https://nuget.test/index.json | Priority 0|Bypass Proxy - False|Self-Service - "
    "False|Admin Only - False.\r\n";
const std::string NOT_INSTALLED = "Chocolatey v2.2.2\r\n0 packages installed.\r\n";
const std::string INSTALLED = "Chocolatey v2.2.2\r\nzant-velmora 26.9.0\r\n1 packages installed.\r\n";

class ChocoExe : public testing::Test {
 protected:
  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  Captured_Log log;
  Choco_Exe choco{system, "C:\\Program Files (x86)\\Zant\\choco.exe"};
};

TEST_F(ChocoExe, RunsNothingAndSaysNothingAtConstruction) {
  EXPECT_THAT(system->commands(), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_EQ(system.use_count(), 2);
}

TEST_F(ChocoExe, TellsItsPathAsItWasGiven) {
  EXPECT_EQ(choco.get_exe_path(), "C:\\Program Files (x86)\\Zant\\choco.exe");
}

TEST_F(ChocoExe, TakesAPathThatLooksLikeAFormatAsItStands) {
  Choco_Exe odd(system, "C:\\{}\\{0}\\%s\\choco.exe");
  system->on("\"C:\\{}\\{0}\\%s\\choco.exe\" pin list", 0);

  odd.package_is_pinned();

  EXPECT_THAT(system->commands(), ElementsAre("\"C:\\{}\\{0}\\%s\\choco.exe\" pin list"));
}

TEST_F(ChocoExe, IsServedThroughItsInterface) {
  system->on(PIN_LIST, 0, "zant-velmora|26.9.0\r\n");
  const std::shared_ptr<Virtual_Choco_Exe> shared =
      std::make_shared<Choco_Exe>(system, "C:\\Program Files (x86)\\Zant\\choco.exe");

  EXPECT_TRUE(shared->package_is_pinned());
}

// --- The pin ---------------------------------------------------------------------------------------------

TEST_F(ChocoExe, FindsThePinInTheListing) {
  system->on(PIN_LIST, 0, "Chocolatey v2.2.2\r\nother|1.0.0\r\nzant-velmora|26.9.0\r\n");

  EXPECT_TRUE(choco.package_is_pinned());
  EXPECT_THAT(system->commands(), ElementsAre(PIN_LIST));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoExe, FindsNoPinInAListingOfOtherPackages) {
  system->on(PIN_LIST, 0, "Chocolatey v2.2.2\r\nother|1.0.0\r\n");

  EXPECT_FALSE(choco.package_is_pinned());
}

TEST_F(ChocoExe, FindsThePinAnywhereInTheText) {
  system->on(PIN_LIST, 0, "xzant-velmoray");

  EXPECT_TRUE(choco.package_is_pinned());
}

TEST_F(ChocoExe, TakesThePackageForPinnedWhenChocoFailsButNamesIt) {
  system->on(PIN_LIST, 1, "Cannot read the pin of zant-velmora\r\n");

  EXPECT_TRUE(choco.package_is_pinned());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code 1 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin list"}));
}

TEST_F(ChocoExe, TakesThePackageForNotPinnedWhenChocoFailsWithoutAWord) {
  system->on(PIN_LIST, -1);

  EXPECT_FALSE(choco.package_is_pinned());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code -1 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin list"}));
}

TEST_F(ChocoExe, PinsWithoutLookingAtThePinFirst) {
  system->on(PIN, 0, "Successfully added a pin for zant-velmora v26.9.0.\r\n");

  EXPECT_TRUE(choco.pin_package());
  EXPECT_THAT(system->commands(), ElementsAre(PIN));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe", "Pin zant-velmora package to prevent upgrades"}));
}

TEST_F(ChocoExe, ReportsAPinThatFailed) {
  system->on(PIN, 1, "Unable to find package named 'zant-velmora' to pin.\r\n");

  EXPECT_FALSE(choco.pin_package());
  EXPECT_THAT(
      log.records(),
      ElementsAre(Captured_Record{3, "Choco_Exe", "Pin zant-velmora package to prevent upgrades"},
                  Captured_Record{5, "Choco_Exe",
                                  "choco.exe command failed with return code 1 | Command: "
                                  "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin add -n zant-velmora"}));
}

TEST_F(ChocoExe, UnpinsWithoutLookingAtThePinFirst) {
  system->on(UNPIN, 0, "Successfully removed a pin for zant-velmora v26.9.0.\r\n");

  EXPECT_TRUE(choco.unpin_package());
  EXPECT_THAT(system->commands(), ElementsAre(UNPIN));
  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{
                                 3, "Choco_Exe", "Unpin zant-velmora package to allow for upgrades"}));
}

TEST_F(ChocoExe, ReportsAnUnpinThatFailed) {
  system->on(UNPIN, 2);

  EXPECT_FALSE(choco.unpin_package());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe", "Unpin zant-velmora package to allow for upgrades"},
                          Captured_Record{
                              5, "Choco_Exe",
                              "choco.exe command failed with return code 2 | Command: "
                              "\"C:\\Program Files (x86)\\Zant\\choco.exe\" pin remove -n zant-velmora"}));
}

// --- Adding the source -----------------------------------------------------------------------------------

TEST_F(ChocoExe, LeavesASourceThatIsListedAlone) {
  system->on(SOURCE_LIST, 0, OUR_SOURCE);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoExe, TakesALocationListedUnderAnotherNameForTheSource) {
  system->on(SOURCE_LIST, 0, "mirror - https://nuget.test/index.json | Priority 0\r\n");

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST));
}

TEST_F(ChocoExe, TakesALocationNamedByAFailingListingForTheSource) {
  system->on(SOURCE_LIST, 1, "Unable to reach https://nuget.test/index.json\r\n");

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST));
  EXPECT_THAT(log.messages(5), ElementsAre("choco.exe command failed with return code 1 | Command: "
                                           "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source list"));
}

TEST_F(ChocoExe, TakesAnEmptyLocationForListed) {
  system->on(SOURCE_LIST, 0, "");

  EXPECT_TRUE(choco.add_repo(""));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST));
}

TEST_F(ChocoExe, AddsASourceOfTheSameNameAtAnotherLocation) {
  system->on(SOURCE_LIST, 0, "zant-velmora - https://old.test/index.json | Priority 0\r\n");
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 0, INSTALLED);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED));
}

TEST_F(ChocoExe, AddsTheSourceAndLeavesAPackageThatChocolateyKnowsAlone) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 0, "Added zant-velmora - https://nuget.test/index.json (Priority 0)\r\n");
  system->on(LIST_INSTALLED, 0, INSTALLED);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED));
  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{3, "Choco_Exe",
                                                         "Adding zant-velmora package repository | Location: "
                                                         "https://nuget.test/index.json"}));
}

TEST_F(ChocoExe, AddsTheSourceAndAdoptsAnInstallationThatChocolateyDoesNotKnow) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 0, NOT_INSTALLED);
  system->on(ADOPT, 0);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED, ADOPT));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe",
                                          "Adding zant-velmora package repository | Location: "
                                          "https://nuget.test/index.json"},
                          Captured_Record{3, "Choco_Exe",
                                          "Syncing with system to manage existing zant-velmora install"}));
}

TEST_F(ChocoExe, DoesNotSyncWhenTheSourceCannotBeAdded) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 1);

  EXPECT_FALSE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe",
                                          "Adding zant-velmora package repository | Location: "
                                          "https://nuget.test/index.json"},
                          Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code 1 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source add -n "
                                          "zant-velmora -s https://nuget.test/index.json"}));
}

TEST_F(ChocoExe, AddsTheSourceEvenWhenTheSourcesCannotBeListed) {
  system->on(SOURCE_LIST, 1, "access denied\r\n");
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 0, INSTALLED);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED));
}

TEST_F(ChocoExe, ReportsAnAdoptionThatFailed) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 0, NOT_INSTALLED);
  system->on(ADOPT, 1604);

  EXPECT_FALSE(choco.add_repo(LOCATION));
  EXPECT_THAT(log.messages(5),
              ElementsAre("choco.exe command failed with return code 1604 | Command: " + ADOPT));
}

TEST_F(ChocoExe, AdoptsWhenTheInstalledPackagesCannotBeListed) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 1);
  system->on(ADOPT, 0);

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED, ADOPT));
}

TEST_F(ChocoExe, TakesAFailingListingThatNamesThePackageForInstalled) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  system->on(ADD_SOURCE, 0);
  system->on(LIST_INSTALLED, 1, "zant-velmora: no such package\r\n");

  EXPECT_TRUE(choco.add_repo(LOCATION));
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, ADD_SOURCE, LIST_INSTALLED));
}

TEST_F(ChocoExe, TakesALocationThatLooksLikeAFormatAsItStands) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  const std::string add =
      "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source add -n zant-velmora -s https://{}.test/{0}";
  system->on(add, 0);
  system->on(LIST_INSTALLED, 0, INSTALLED);

  EXPECT_TRUE(choco.add_repo("https://{}.test/{0}"));
  EXPECT_THAT(log.messages(3),
              ElementsAre("Adding zant-velmora package repository | Location: https://{}.test/{0}"));
}

TEST_F(ChocoExe, AnnouncesTheSourceAndTheAdoptionBeforeItCarriesThemOut) {
  Recorded_Host host;
  Choco_Exe recorded(host.system, "C:\\Program Files (x86)\\Zant\\choco.exe");
  host.system->on(SOURCE_LIST, 0, OTHER_SOURCES);
  host.system->on(ADD_SOURCE, 0);
  host.system->on(LIST_INSTALLED, 0, NOT_INSTALLED);
  host.system->on(ADOPT, 0);

  recorded.add_repo(LOCATION);

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run " + SOURCE_LIST,
                          "log 3 Choco_Exe: Adding zant-velmora package repository | Location: "
                          "https://nuget.test/index.json",
                          "run " + ADD_SOURCE, "run " + LIST_INSTALLED,
                          "log 3 Choco_Exe: Syncing with system to manage existing zant-velmora install",
                          "run " + ADOPT));
}

// --- Removing the source ---------------------------------------------------------------------------------

TEST_F(ChocoExe, RemovesTheSource) {
  system->on(SOURCE_LIST, 0, OUR_SOURCE);
  system->on(REMOVE_SOURCE, 0);

  EXPECT_TRUE(choco.remove_repo());
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, REMOVE_SOURCE));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe", "Removing zant-velmora package repository"}));
}

TEST_F(ChocoExe, RemovesNothingWhenTheSourceIsNotListed) {
  system->on(SOURCE_LIST, 0, OTHER_SOURCES);

  EXPECT_TRUE(choco.remove_repo());
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoExe, TakesTheSourceForGoneWhenTheSourcesCannotBeListed) {
  system->on(SOURCE_LIST, 9009, "not recognized as an internal or external command\r\n");

  EXPECT_TRUE(choco.remove_repo());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code 9009 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source list"}));
}

TEST_F(ChocoExe, RemovesTheSourceThatAFailingListingNames) {
  system->on(SOURCE_LIST, 1, "cannot read zant-velmora\r\n");
  system->on(REMOVE_SOURCE, 0);

  EXPECT_TRUE(choco.remove_repo());
  EXPECT_THAT(system->commands(), ElementsAre(SOURCE_LIST, REMOVE_SOURCE));
}

TEST_F(ChocoExe, ReportsARemovalThatFailed) {
  system->on(SOURCE_LIST, 0, OUR_SOURCE);
  system->on(REMOVE_SOURCE, 1);

  EXPECT_FALSE(choco.remove_repo());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{3, "Choco_Exe", "Removing zant-velmora package repository"},
                          Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code 1 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" source remove -n "
                                          "zant-velmora"}));
}

TEST_F(ChocoExe, AnnouncesTheRemovalBeforeItCarriesItOut) {
  Recorded_Host host;
  Choco_Exe recorded(host.system, "C:\\Program Files (x86)\\Zant\\choco.exe");
  host.system->on(SOURCE_LIST, 0, OUR_SOURCE);
  host.system->on(REMOVE_SOURCE, 0);

  recorded.remove_repo();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run " + SOURCE_LIST, "log 3 Choco_Exe: Removing zant-velmora package repository",
                          "run " + REMOVE_SOURCE));
}

// --- The cache -------------------------------------------------------------------------------------------

TEST_F(ChocoExe, ClearsTheHttpCache) {
  system->on(CLEAR_CACHE, 0);

  choco.clear_http_cache();

  EXPECT_THAT(system->commands(), ElementsAre(CLEAR_CACHE));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ChocoExe, TellsOfACacheThatCannotBeClearedInTheLogAlone) {
  system->on(CLEAR_CACHE, 3);

  EXPECT_NO_THROW(choco.clear_http_cache());
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{5, "Choco_Exe",
                                          "choco.exe command failed with return code 3 | Command: "
                                          "\"C:\\Program Files (x86)\\Zant\\choco.exe\" cache remove"}));
}

// --- The command service ---------------------------------------------------------------------------------

TEST_F(ChocoExe, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const auto& command : {PIN_LIST, PIN, UNPIN, SOURCE_LIST, CLEAR_CACHE}) {
    system->on(command, 0);
    system->during(command, [] { throw std::domain_error("no shell"); });
  }

  EXPECT_THROW(choco.package_is_pinned(), std::domain_error);
  EXPECT_THROW(choco.pin_package(), std::domain_error);
  EXPECT_THROW(choco.unpin_package(), std::domain_error);
  EXPECT_THROW(choco.add_repo(LOCATION), std::domain_error);
  EXPECT_THROW(choco.remove_repo(), std::domain_error);
  EXPECT_THROW(choco.clear_http_cache(), std::domain_error);
}

}  // namespace
