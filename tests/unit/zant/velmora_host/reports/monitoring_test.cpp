#include <zant/velmora_host/reports/monitoring.hpp>

#include <gtest/gtest.h>

#include <chrono>

namespace zant::velmora_host {
namespace {

const auto NOW = std::chrono::system_clock::from_time_t(1800000000);

Status status_of(Verdict_Kind kind) {
  Status status;
  status.overdue_after = std::chrono::hours(24 * 7);
  status.verdict.kind = kind;
  status.verdict.found = NOW;
  status.verdict.outlook.installed = "1.0";
  status.verdict.outlook.offered = "1.0";
  return status;
}

TEST(MonitoringTest, IsOkWhenNothingNeedsAttention) {
  const Status status = status_of(Verdict_Kind::UP_TO_DATE);

  EXPECT_EQ(monitoring_state(status), Monitoring_State::OK);
  EXPECT_EQ(
      to_monitoring_line(status),
      "PACKAGE_MINDER OK - up to date: zant-velmora 1.0 | offered_seconds=0s;604800;;0 reasons=0;0;;0\n");
}

TEST(MonitoringTest, IsOkWhileAVersionWaits) {
  Status status = status_of(Verdict_Kind::WAITING);
  status.verdict.outlook.offered = "2.0";
  status.verdict.outlook.next_run = NOW;
  status.verdict.outlook.refreshed = NOW - std::chrono::seconds(30);
  status.verdict.history.offered = {"2.0", NOW - std::chrono::seconds(90)};

  EXPECT_EQ(monitoring_state(status), Monitoring_State::OK);
  EXPECT_EQ(
      to_monitoring_line(status),
      "PACKAGE_MINDER OK - waiting: zant-velmora 1.0, 2.0 is offered and will be installed at "
      "2027-01-15T08:00:00Z | offered_seconds=90s;604800;;0 reasons=0;0;;0 refresh_age_seconds=30s;;;0\n");
}

TEST(MonitoringTest, WarnsOfWhatNeedsAttention) {
  Status status = status_of(Verdict_Kind::UP_TO_DATE);
  status.reasons = {{"hold.held", "It is held"}, {"cycle.failed", "It failed"}};

  EXPECT_EQ(monitoring_state(status), Monitoring_State::WARNING);
  EXPECT_EQ(
      to_monitoring_line(status),
      "PACKAGE_MINDER WARNING - up to date: zant-velmora 1.0; needs attention: hold.held, cycle.failed | "
      "offered_seconds=0s;604800;;0 reasons=2;0;;0\n");
}

TEST(MonitoringTest, WarnsOfWhatIsOverdue) {
  EXPECT_EQ(monitoring_state(status_of(Verdict_Kind::OVERDUE)), Monitoring_State::WARNING);
}

TEST(MonitoringTest, IsCriticalWhenBlockedAndOnOneLineWhateverToolsPrint) {
  Status status = status_of(Verdict_Kind::BLOCKED);
  status.verdict.outlook.causes = {
      {Cause_Effect::BLOCKS, "package.pinned", "A pin | says\nno", "", "rm /etc/apt/preferences"}};

  EXPECT_EQ(monitoring_state(status), Monitoring_State::CRITICAL);
  EXPECT_EQ(to_monitoring_line(status),
            "PACKAGE_MINDER CRITICAL - blocked: zant-velmora 1.0: A pin / says\\nno | "
            "offered_seconds=0s;604800;;0 reasons=0;0;;0\n");
}

TEST(MonitoringTest, IsUnknownWhenItCannotBeTold) {
  EXPECT_EQ(monitoring_state(status_of(Verdict_Kind::CANNOT_BE_TOLD)), Monitoring_State::UNKNOWN);
  EXPECT_EQ(to_unknown_monitoring_line("no | such\nhost"), "PACKAGE_MINDER UNKNOWN - no / such\\nhost\n");
}

}  // namespace
}  // namespace zant::velmora_host
