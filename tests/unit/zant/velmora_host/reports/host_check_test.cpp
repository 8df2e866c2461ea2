#include <zant/velmora_host/reports/host_check.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace zant::velmora_host::host_check {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Everything succeeds unless a test says otherwise.
class Stub_System : public velmora::System {
 public:
  velmora::Command_Result run_command(const std::string& command, bool /*flag*/) override {
    const auto result = results.find(command);
    return result == results.end() ? velmora::Command_Result{"", 0} : result->second;
  }

  // A dnf that is not dnf5.
  std::map<std::string, velmora::Command_Result> results = {
      {"dnf --version 2> /dev/null | head -n 1 | grep -q dnf5", {"", 1}}};
};

class HostCheck : public ::testing::Test {
 protected:
  Settings settings(const std::vector<std::pair<std::string, std::string>>& values) {
    Settings_Sources sources;
    sources.file = "/nowhere";
    sources.overrides = values;
    return Settings(sources);
  }

  std::vector<std::string> codes() const {
    std::vector<std::string> codes;
    for (const auto& finding : report_.findings) {
      codes.push_back(finding.code + " " + finding.where);
    }
    return codes;
  }

  static constexpr Host_Kind APT = {velmora::Package_Config_Type::APT, velmora::Init::systemd};
  static constexpr Host_Kind APT_WITHOUT_SYSTEMD = {velmora::Package_Config_Type::APT, velmora::Init::other};
  static constexpr Host_Kind DNF = {velmora::Package_Config_Type::DNF, velmora::Init::systemd};
  Stub_System system_;
  velmora::test_support::Fake_Filesystem files_;
  Check_Report report_;
};

TEST_F(HostCheck, IsContentWithAHostThatHasAllTools) {
  check_tools(system_, APT, report_);
  check_tools(system_, DNF, report_);

  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(HostCheck, FindsAMissingToolAndNamesItsPackage) {
  system_.results["command -v service > /dev/null"] = {"", 1};

  check_tools(system_, APT, report_);

  EXPECT_THAT(codes(), ElementsAre("tools.missing service"));
  EXPECT_EQ(report_.findings[0].remedy, "install the package init-system-helpers");
}

TEST_F(HostCheck, FindsDnf5) {
  system_.results["dnf --version 2> /dev/null | head -n 1 | grep -q dnf5"] = {"", 0};

  check_tools(system_, DNF, report_);

  EXPECT_THAT(codes(), ElementsAre("host.dnf5 dnf"));
}

TEST_F(HostCheck, FindsADnfThatCannotBeConfigured) {
  system_.results["dnf config-manager --help &> /dev/null || command -v yum-config-manager > /dev/null"] = {
      "", 1};

  check_tools(system_, DNF, report_);

  EXPECT_THAT(codes(), ElementsAre("tools.missing dnf config-manager"));
}

TEST_F(HostCheck, FindsMaskedUnits) {
  system_.results["systemctl is-enabled apt-daily.timer 2> /dev/null"] = {"masked\n", 1};
  system_.results["systemctl is-enabled unattended-upgrades.service 2> /dev/null"] = {"disabled\n", 1};

  check_units(system_, APT, report_);

  EXPECT_THAT(codes(), ElementsAre("units.masked apt-daily.timer"));
}

TEST_F(HostCheck, AsksForNoUnitsWithoutSystemd) {
  system_.results["systemctl is-enabled apt-daily.timer 2> /dev/null"] = {"masked\n", 1};

  check_units(system_, APT_WITHOUT_SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(HostCheck, HasSystemdJudgeTheSchedule) {
  system_.results["systemd-analyze calendar 'Mon 27:00' &> /dev/null"] = {"", 1};
  system_.results["systemd-analyze timespan 'a while' &> /dev/null"] = {"", 1};

  check_schedule(system_,
                 settings({{"package.apt.upgrade_timer.on_calendar", "Mon 27:00"},
                           {"package.apt.upgrade_timer.randomized_delay", "a while"}}),
                 APT, report_);

  EXPECT_THAT(codes(), ElementsAre("schedule.bad_calendar package.apt.upgrade_timer.on_calendar",
                                   "schedule.bad_delay package.apt.upgrade_timer.randomized_delay"));
}

TEST_F(HostCheck, SaysWhenNobodyCanJudgeTheSchedule) {
  system_.results["command -v systemd-analyze > /dev/null"] = {"", 1};

  check_schedule(system_, settings({{"package.apt.upgrade_timer.on_calendar", "daily"}}), APT, report_);

  EXPECT_THAT(codes(), IsEmpty());
  ASSERT_EQ(report_.unchecked.size(), 1U);
  EXPECT_EQ(report_.unchecked[0].code, "schedule");
}

TEST_F(HostCheck, FindsAScheduleOnAHostWithoutSystemd) {
  check_schedule(system_, settings({{"package.apt.upgrade_timer.randomized_delay", "1h"}}),
                 APT_WITHOUT_SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("schedule.no_systemd package.apt.upgrade_timer.randomized_delay"));
}

TEST_F(HostCheck, FindsDirectoriesThatAreMissingOrReadOnly) {
  for (const char* directory : {"/etc/apt/trusted.gpg.d", "/etc/apt/apt.conf.d", "/etc/systemd/system"}) {
    files_.add_directory(directory);
  }
  system_.results["test -w /etc/apt/apt.conf.d"] = {"", 1};

  check_directories(system_, files_, settings({}), APT, report_);

  EXPECT_THAT(codes(), ElementsAre("host.directory_missing /etc/apt/sources.list.d",
                                   "host.read_only /etc/apt/apt.conf.d"));
}

TEST_F(HostCheck, FindsAMissingDirectoryForTheMetrics) {
  files_.add_directory("/etc/yum.repos.d");
  files_.add_directory("/etc/systemd/system");

  check_directories(system_, files_, settings({{"minder.metrics_file", "/var/lib/nowhere/m.prom"}}), DNF,
                    report_);

  EXPECT_THAT(codes(), ElementsAre("metrics.directory_missing /var/lib/nowhere"));
}

}  // namespace
}  // namespace zant::velmora_host::host_check
