#include <zant/velmora_host/families/choco/base_directory_check.hpp>
#include <zant/velmora_host/families/choco/choco_outlook.hpp>

#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {

// In place of Windows' own.
boost::filesystem::path choco_program(const Settings& /*settings*/) {
  return "C:/ProgramData/chocolatey/choco.exe";
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* TASK = "schtasks.exe /QUERY /TN \"UpgradeVelmoraRecorderVMS\" /XML";
constexpr const char* LAST_RUN = "schtasks.exe /QUERY /TN \"UpgradeVelmoraRecorderVMS\" /V /FO CSV /NH";
constexpr const char* LIST = "\"C:/ProgramData/chocolatey/choco.exe\" list -e zant-velmora";
constexpr const char* PINS = "\"C:/ProgramData/chocolatey/choco.exe\" pin list";
constexpr const char* SOURCES = "\"C:/ProgramData/chocolatey/choco.exe\" source list";
constexpr const char* OUTDATED =
    "\"C:/ProgramData/chocolatey/choco.exe\" outdated --limit-output --execution-timeout=20";

class ChocoOutlook : public ::testing::Test {
 protected:
  ChocoOutlook() {
    host_.system->on(LIST, 0, "Chocolatey v2.2.2\r\nzant-velmora 1.0\r\n1 packages installed.\r\n");
    host_.system->on(PINS, 0, "Chocolatey v2.2.2\r\n");
    host_.system->on(SOURCES, 0,
                     "Chocolatey v2.2.2\r\nzant-velmora - https://choco.velmora.test/v3/index.json | "
                     "Priority 0|Bypass Proxy - False\r\n");
    host_.system->on(TASK, 0,
                     "<Task><Triggers><Enabled>false</Enabled></Triggers><Settings></Settings></Task>");
    answer_last_run("0");
    host_.system->on(OUTDATED, 0, "");
  }

  void answer_last_run(const std::string& result) {
    host_.system->on(LAST_RUN, 0,
                     "\"HOST\",\"\\UpgradeVelmoraRecorderVMS\",\"22.11.2026 01:00:00\",\"Bereit\","
                     "\"Interaktiv/Hintergrund\",\"15.11.2026 01:00:00\",\"" +
                         result + "\",\"N/A\"\r\n");
  }

  Upgrade_Outlook outlook() {
    const Settings settings = host_.settings();
    return choco_outlook::find({settings, host_.services, velmora::Init::other, "/private", is_online_, {}});
  }

  std::vector<std::string> codes() {
    std::vector<std::string> codes;
    for (const auto& cause : outlook().causes) {
      codes.push_back(cause.code);
    }
    return codes;
  }

  test_support::El_Host host_;
  bool is_online_ = true;
};

TEST_F(ChocoOutlook, OfAHealthyHostHasNoCause) {
  EXPECT_THAT(codes(), IsEmpty());
  EXPECT_EQ(outlook().installed, "1.0");
  EXPECT_EQ(outlook().offered, "1.0");
  EXPECT_FALSE(outlook().newer_is_offered);
}

TEST_F(ChocoOutlook, KnowsWhatIsOutdated) {
  host_.system->on(OUTDATED, 2, "other|1|2|false\r\nzant-velmora|1.0|2.0|false\r\n");

  EXPECT_EQ(outlook().offered, "2.0");
  EXPECT_TRUE(outlook().newer_is_offered);
  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(ChocoOutlook, SaysThatItDoesNotKnowWhatIsOfferedWithoutAsking) {
  is_online_ = false;

  EXPECT_THAT(codes(), ElementsAre("repository.not_asked"));
}

TEST_F(ChocoOutlook, NamesWhatKeepsThePackageBack) {
  host_.system->on(PINS, 0, "zant-velmora|1.0\r\n");
  EXPECT_THAT(codes(), ElementsAre("hold.held"));

  host_.system->on(PINS, 0, "zant-velmora-tools|1.0\r\n");
  EXPECT_THAT(codes(), IsEmpty());

  host_.system->on(SOURCES, 0, "zant-velmora [Disabled] - https://choco.velmora.test | Priority 0\r\n");
  EXPECT_THAT(codes(), ElementsAre("repository.switched_off"));

  host_.system->on(SOURCES, 0, "chocolatey - https://x | Priority 0\r\n");
  EXPECT_THAT(codes(), ElementsAre("repository.not_registered"));
}

TEST_F(ChocoOutlook, NamesATaskThatIsMissingOrDisabled) {
  host_.system->on(TASK, 0, "<Task><Settings><Enabled>false</Enabled></Settings></Task>");
  EXPECT_THAT(codes(), ElementsAre("timer.disabled"));
  EXPECT_EQ(outlook().causes.at(0).remedy, "schtasks.exe /CHANGE /TN \"UpgradeVelmoraRecorderVMS\" /ENABLE");

  host_.system->on(TASK, 1, "ERROR: The system cannot find the file specified.");
  EXPECT_THAT(codes(), ElementsAre("timer.missing"));
}

TEST_F(ChocoOutlook, NamesALastRunThatFailed) {
  answer_last_run("-2147024894");
  EXPECT_THAT(codes(), ElementsAre("run.failed"));

  answer_last_run("267011");
  EXPECT_THAT(codes(), IsEmpty()) << "it has not run yet";
}

TEST_F(ChocoOutlook, NamesSourcesThatCannotBeAsked) {
  host_.system->on(OUTDATED, 1, "Unable to connect to source");

  EXPECT_THAT(codes(), ElementsAre("server.unreachable"));
  EXPECT_THAT(outlook().causes.at(0).evidence, HasSubstr("Unable to connect"));
}

TEST_F(ChocoOutlook, IsNotGuessedWhenTheToolsFail) {
  host_.system->on(LIST, 1, "no");
  host_.system->on(PINS, 1, "no");
  host_.system->on(SOURCES, 1, std::string(100000, 'x'));
  host_.system->on(TASK, 0, "nonsense");

  EXPECT_THAT(codes(), ElementsAre("tools.failed", "tools.failed", "tools.failed", "tools.failed"));
  EXPECT_LT(outlook().causes.at(2).evidence.size(), 3000U);

  host_.system->on(TASK, 0, "<Settings>");
  host_.system->on(LAST_RUN, 0, "\"a\",\"b\"");
  EXPECT_THAT(codes(), ElementsAre("tools.failed", "tools.failed", "tools.failed", "tools.failed"));
}

TEST_F(ChocoOutlook, NamesAMissingPackage) {
  host_.system->on(LIST, 0, "Chocolatey v2.2.2\r\n0 packages installed.\r\n");

  EXPECT_THAT(codes(), ElementsAre("package.not_installed"));
}

}  // namespace
}  // namespace zant::velmora_host
