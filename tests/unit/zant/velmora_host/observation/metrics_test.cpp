#include <zant/velmora_host/observation/metrics.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Metrics, AreThereFromTheFirstCycleOn) {
  Cycle_State state;
  state.history.cycles = 1;

  EXPECT_EQ(
      metrics_text(state, std::nullopt, {}, false, {}),
      "# HELP package_minder_cycles_total Cycles that were begun.\n"
      "# TYPE package_minder_cycles_total counter\n"
      "package_minder_cycles_total 1\n"
      "# HELP package_minder_failures_total Failed steps of cycles, by step.\n"
      "# TYPE package_minder_failures_total counter\n"
      "package_minder_failures_total{kind=\"repository\"} 0\n"
      "package_minder_failures_total{kind=\"hold\"} 0\n"
      "package_minder_failures_total{kind=\"automatic_upgrades\"} 0\n"
      "# HELP package_minder_drift_repaired_total Files that somebody had changed and that were put back, by "
      "kind.\n"
      "# TYPE package_minder_drift_repaired_total counter\n"
      "package_minder_drift_repaired_total{kind=\"keyring\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"source_list\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"repository_file\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"preferences\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"upgrade_configuration\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"backup\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"timer\"} 0\n"
      "package_minder_drift_repaired_total{kind=\"other\"} 0\n"
      "# HELP package_minder_holds_released_total Holds on the package that were released.\n"
      "# TYPE package_minder_holds_released_total counter\n"
      "package_minder_holds_released_total 0\n"
      "# HELP package_minder_last_cycle_duration_seconds How long the last cycle took.\n"
      "# TYPE package_minder_last_cycle_duration_seconds gauge\n"
      "package_minder_last_cycle_duration_seconds 0\n"
      "# HELP package_minder_installation_stalled Whether an installation makes no progress for an hour.\n"
      "# TYPE package_minder_installation_stalled gauge\n"
      "package_minder_installation_stalled 0\n");
  EXPECT_THAT(metrics_text(state, std::nullopt, {}, true, {}),
              HasSubstr("\npackage_minder_installation_stalled 1\n"));
}

TEST(Metrics, CountByKind) {
  Cycle_State state;
  state.history.failures = {{Cycle_Step::HOLD, 3}};
  state.history.repairs = {{File_Kind::OTHER, 4}};
  state.history.last_success = system_clock::from_time_t(1800000000);

  const auto text = metrics_text(state, std::nullopt, {}, false, {});

  EXPECT_THAT(text, HasSubstr("package_minder_failures_total{kind=\"hold\"} 3\n"));
  EXPECT_THAT(text, HasSubstr("package_minder_drift_repaired_total{kind=\"other\"} 4\n"));
  EXPECT_THAT(text, HasSubstr("package_minder_last_success_timestamp_seconds 1800000000\n"));
}

TEST(Metrics, TellWhenKeysExpireAndNothingOfThoseThatDoNot) {
  const Signing_Key lasting{"AA", 22, 255, false, std::nullopt};
  const Signing_Key expiring{"BB", 22, 255, false, system_clock::from_time_t(1900000000)};

  EXPECT_THAT(metrics_text({}, std::nullopt, {lasting}, false, {}), Not(HasSubstr("key_expiry")));
  EXPECT_THAT(metrics_text({}, std::nullopt, {lasting, expiring}, false, {}),
              HasSubstr("package_minder_key_expiry_timestamp_seconds{fingerprint=\"BB\"} 1900000000\n"));
}

// --- the verdict -----------------------------------------------------------------

class VerdictInMetrics : public ::testing::Test {
 protected:
  VerdictInMetrics() {
    verdict_.kind = Verdict_Kind::BLOCKED;
    verdict_.found = system_clock::from_time_t(1800000000);
    verdict_.outlook.installed = "1.0";
    verdict_.outlook.offered = "2.0";
    verdict_.outlook.newer_is_offered = true;
    verdict_.outlook.refreshed = system_clock::from_time_t(1800000001);
    verdict_.outlook.next_run = system_clock::from_time_t(1800000002);
    verdict_.outlook.last_run = Upgrade_Run{system_clock::from_time_t(1800000003), false, "exit-code"};
    verdict_.outlook.causes = {{Cause_Effect::BLOCKS, "package.pinned", "", "one", ""},
                               {Cause_Effect::BLOCKS, "package.pinned", "", "two", ""},
                               {Cause_Effect::OBSCURES, "tools.failed", "", "", ""}};
    verdict_.history.offered = {"2.0", system_clock::from_time_t(1799990000)};
    verdict_.history.version_changed = system_clock::from_time_t(1800000004);
  }

  std::string text() const {
    return metrics_text({}, verdict_, {}, false, system_clock::from_time_t(1800000100));
  }

  Verdict verdict_;
};

TEST_F(VerdictInMetrics, IsTold) {
  const std::string all = text();

  EXPECT_EQ(
      all.substr(all.find("# HELP package_minder_package_info")),
      "# HELP package_minder_package_info The version that is installed and the newest offered.\n"
      "# TYPE package_minder_package_info gauge\n"
      "package_minder_package_info{installed=\"1.0\",offered=\"2.0\"} 1\n"
      "# HELP package_minder_verdict Whether the package upgrades on this host: 1 for what holds.\n"
      "# TYPE package_minder_verdict gauge\n"
      "package_minder_verdict{verdict=\"up_to_date\"} 0\n"
      "package_minder_verdict{verdict=\"waiting\"} 0\n"
      "package_minder_verdict{verdict=\"overdue\"} 0\n"
      "package_minder_verdict{verdict=\"blocked\"} 1\n"
      "package_minder_verdict{verdict=\"cannot_be_told\"} 0\n"
      "# HELP package_minder_cause Why the package does not upgrade, by code.\n"
      "# TYPE package_minder_cause gauge\n"
      "package_minder_cause{code=\"package.pinned\"} 1\n"
      "package_minder_cause{code=\"tools.failed\"} 1\n"
      "# HELP package_minder_newer_version_offered_seconds How long a newer version has been offered without "
      "being installed.\n"
      "# TYPE package_minder_newer_version_offered_seconds gauge\n"
      "package_minder_newer_version_offered_seconds 10100\n"
      "# HELP package_minder_verdict_timestamp_seconds When the verdict was found.\n"
      "# TYPE package_minder_verdict_timestamp_seconds gauge\n"
      "package_minder_verdict_timestamp_seconds 1800000000\n"
      "# HELP package_minder_refresh_timestamp_seconds When the repository last answered.\n"
      "# TYPE package_minder_refresh_timestamp_seconds gauge\n"
      "package_minder_refresh_timestamp_seconds 1800000001\n"
      "# HELP package_minder_next_upgrade_run_timestamp_seconds When the host's upgrades run next.\n"
      "# TYPE package_minder_next_upgrade_run_timestamp_seconds gauge\n"
      "package_minder_next_upgrade_run_timestamp_seconds 1800000002\n"
      "# HELP package_minder_version_change_timestamp_seconds When the installed version last changed.\n"
      "# TYPE package_minder_version_change_timestamp_seconds gauge\n"
      "package_minder_version_change_timestamp_seconds 1800000004\n"
      "# HELP package_minder_upgrade_run_timestamp_seconds When the host's upgrade service last ended.\n"
      "# TYPE package_minder_upgrade_run_timestamp_seconds gauge\n"
      "package_minder_upgrade_run_timestamp_seconds 1800000003\n"
      "# HELP package_minder_upgrade_run_success Whether the last run of the host's upgrade service "
      "succeeded.\n"
      "# TYPE package_minder_upgrade_run_success gauge\n"
      "package_minder_upgrade_run_success 0\n");
}

TEST_F(VerdictInMetrics, LeavesOutWhatIsNotKnown) {
  verdict_ = {};
  verdict_.found = system_clock::from_time_t(1800000000);
  const std::string all = text();

  EXPECT_THAT(all, HasSubstr("package_minder_package_info{installed=\"\",offered=\"\"} 1\n"));
  EXPECT_THAT(all, HasSubstr("package_minder_verdict{verdict=\"cannot_be_told\"} 1\n"));
  EXPECT_THAT(all, HasSubstr("package_minder_newer_version_offered_seconds 0\n"));
  for (const char* name : {"cause", "refresh", "next_upgrade", "version_change", "upgrade_run"}) {
    EXPECT_THAT(all, Not(HasSubstr(std::string("package_minder_") + name))) << name;
  }
}

TEST_F(VerdictInMetrics, EscapesWhatARepositorySays) {
  verdict_.outlook.offered = "2\"}\n\\";

  EXPECT_THAT(text(), HasSubstr("offered=\"2\\\"}\\\\n\\\\\"} 1\n"));
}

}  // namespace
}  // namespace zant::velmora_host
