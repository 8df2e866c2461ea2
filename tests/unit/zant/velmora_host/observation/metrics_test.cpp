#include <zant/velmora_host/observation/metrics.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Metrics, AreThereFromTheFirstCycleOn) {
  Cycle_State state;
  state.history.cycles = 1;

  EXPECT_EQ(
      metrics_text(state, {}),
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
      "package_minder_last_cycle_duration_seconds 0\n");
}

TEST(Metrics, CountByKind) {
  Cycle_State state;
  state.history.failures = {{Cycle_Step::HOLD, 3}};
  state.history.repairs = {{File_Kind::OTHER, 4}};
  state.history.last_success = system_clock::from_time_t(1800000000);

  const auto text = metrics_text(state, {});

  EXPECT_THAT(text, HasSubstr("package_minder_failures_total{kind=\"hold\"} 3\n"));
  EXPECT_THAT(text, HasSubstr("package_minder_drift_repaired_total{kind=\"other\"} 4\n"));
  EXPECT_THAT(text, HasSubstr("package_minder_last_success_timestamp_seconds 1800000000\n"));
}

TEST(Metrics, TellWhenKeysExpireAndNothingOfThoseThatDoNot) {
  const Signing_Key lasting{"AA", 22, 255, false, std::nullopt};
  const Signing_Key expiring{"BB", 22, 255, false, system_clock::from_time_t(1900000000)};

  EXPECT_THAT(metrics_text({}, {lasting}), Not(HasSubstr("key_expiry")));
  EXPECT_THAT(metrics_text({}, {lasting, expiring}),
              HasSubstr("package_minder_key_expiry_timestamp_seconds{fingerprint=\"BB\"} 1900000000\n"));
}

}  // namespace
}  // namespace zant::velmora_host
