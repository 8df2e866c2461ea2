#include <zant/velmora_host/reports/host_check.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host::host_check {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostCheck : public ::testing::Test {
 protected:
  HostCheck() {
    debian_.pass_checks();
    el_.pass_checks();
  }

  std::vector<std::string> codes() const {
    std::vector<std::string> codes;
    for (const auto& finding : report_.findings) {
      codes.push_back(finding.code + " " + finding.where);
    }
    return codes;
  }

  static constexpr velmora::Init SYSTEMD = velmora::Init::systemd;
  static constexpr velmora::Init NO_SYSTEMD = velmora::Init::other;
  const APT_Family apt_;
  const DNF_Family dnf_;
  test_support::Debian_Host debian_;
  test_support::El_Host el_;
  Check_Report report_;
};

TEST_F(HostCheck, IsContentWithAHostThatHasAllTools) {
  check_tools(*debian_.system, apt_, SYSTEMD, report_);
  check_tools(*el_.system, dnf_, SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(HostCheck, FindsAMissingToolAndNamesItsPackage) {
  debian_.system->on("command -v service > /dev/null", 1);

  check_tools(*debian_.system, apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("tools.missing service"));
  EXPECT_EQ(report_.findings[0].remedy, "install the package init-system-helpers");
}

TEST_F(HostCheck, FindsMaskedUnits) {
  debian_.system->on("systemctl is-enabled apt-daily.timer 2> /dev/null", 1, "masked\n");
  debian_.system->on("systemctl is-enabled unattended-upgrades.service 2> /dev/null", 1, "disabled\n");

  check_units(*debian_.system, apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("units.masked apt-daily.timer"));
}

TEST_F(HostCheck, AsksForNoUnitsWithoutSystemd) {
  debian_.system->on("systemctl is-enabled apt-daily.timer 2> /dev/null", 1, "masked\n");

  check_units(*debian_.system, apt_, NO_SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(HostCheck, HasSystemdJudgeTheSchedule) {
  debian_.set("package.apt.upgrade_timer.on_calendar", "Mon 27:00");
  debian_.set("package.apt.upgrade_timer.randomized_delay", "a while");
  debian_.system->on("command -v systemd-analyze > /dev/null", 0);
  debian_.system->on("systemd-analyze calendar 'Mon 27:00' &> /dev/null", 1);
  debian_.system->on("systemd-analyze timespan 'a while' &> /dev/null", 1);

  check_schedule(*debian_.system, debian_.settings(), apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("schedule.bad_calendar package.apt.upgrade_timer.on_calendar",
                                   "schedule.bad_delay package.apt.upgrade_timer.randomized_delay"));
}

TEST_F(HostCheck, IsContentWithAScheduleThatSystemdReads) {
  el_.set("package.dnf.upgrade_timer.on_calendar", "Mon 03:00");
  el_.set("package.dnf.upgrade_timer.randomized_delay", "1h");
  for (const char* command :
       {"command -v systemd-analyze > /dev/null", "systemd-analyze calendar 'Mon 03:00' &> /dev/null",
        "systemd-analyze timespan '1h' &> /dev/null"}) {
    el_.system->on(command, 0);
  }

  check_schedule(*el_.system, el_.settings(), dnf_, SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
  EXPECT_THAT(report_.unchecked, IsEmpty());
}

TEST_F(HostCheck, AsksNobodyWithoutASchedule) {
  check_schedule(*debian_.system, debian_.settings(), apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
  EXPECT_THAT(debian_.system->commands(), IsEmpty());
}

TEST_F(HostCheck, SaysWhenNobodyCanJudgeTheSchedule) {
  debian_.set("package.apt.upgrade_timer.on_calendar", "daily");
  debian_.system->on("command -v systemd-analyze > /dev/null", 1);

  check_schedule(*debian_.system, debian_.settings(), apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
  ASSERT_EQ(report_.unchecked.size(), 1U);
  EXPECT_EQ(report_.unchecked[0].code, "schedule");
}

TEST_F(HostCheck, FindsAScheduleOnAHostWithoutSystemd) {
  debian_.set("package.apt.upgrade_timer.randomized_delay", "1h");

  check_schedule(*debian_.system, debian_.settings(), apt_, NO_SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("schedule.no_systemd package.apt.upgrade_timer.randomized_delay"));
}

TEST_F(HostCheck, FindsDirectoriesThatAreMissingOrReadOnly) {
  debian_.remove("/etc/apt/sources.list.d");
  debian_.system->on("test -w /etc/apt/apt.conf.d", 1);

  check_directories(debian_.services, debian_.settings(), apt_, SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("host.directory_missing /etc/apt/sources.list.d",
                                   "host.read_only /etc/apt/apt.conf.d"));
}

TEST_F(HostCheck, IsContentWithDirectoriesThatCanBeWrittenTo) {
  check_directories(debian_.services, debian_.settings(), apt_, SYSTEMD, report_);
  check_directories(el_.services, el_.settings(), dnf_, SYSTEMD, report_);

  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(HostCheck, FindsAMissingDirectoryForTheMetrics) {
  el_.set("minder.metrics_file", "/etc/nowhere/m.prom");

  check_directories(el_.services, el_.settings(), dnf_, SYSTEMD, report_);

  EXPECT_THAT(codes(), ElementsAre("metrics.directory_missing /etc/nowhere"));
}

}  // namespace
}  // namespace zant::velmora_host::host_check
