#include <zant/velmora_host/reports/planning_system.hpp>

#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* IS_HELD = "apt-mark showhold | grep -q ^zant-velmora$";
constexpr const char* START_TIMER = "systemctl start apt-daily-upgrade.timer";
constexpr const char* TIMER_RUNS =
    "test ! -d /run/systemd/system || systemctl is-active --quiet apt-daily-upgrade.timer";

class PlanningSystem : public ::testing::Test {
 protected:
  std::shared_ptr<velmora::test_support::Fake_System> real_ =
      std::make_shared<velmora::test_support::Fake_System>();
  Planning_System system_{real_};
};

TEST_F(PlanningSystem, RunsQueries) {
  real_->on(IS_HELD, 1, "text");

  const auto result = system_.run_command(IS_HELD, true);

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.output, "text");
  EXPECT_THAT(system_.planned(), IsEmpty());
  EXPECT_EQ(system_.exit_code_of(IS_HELD), 1);
}

TEST_F(PlanningSystem, OnlyListsWhatChangesTheHost) {
  EXPECT_EQ(system_.run_command("apt-get -qq update", true).exit_code, 0);

  EXPECT_THAT(real_->commands(), IsEmpty());
  ASSERT_EQ(system_.planned().size(), 1U);
  EXPECT_EQ(system_.planned()[0].line, "apt-get -qq update");
  EXPECT_FALSE(system_.planned()[0].is_noop);
}

TEST_F(PlanningSystem, RunsNothingThatNobodyKnows) {
  system_.run_command("rm -r /", true);

  EXPECT_THAT(real_->commands(), IsEmpty());
}

TEST_F(PlanningSystem, KnowsWhatWouldChangeNothing) {
  real_->once(TIMER_RUNS, 0);
  real_->once(TIMER_RUNS, 3);

  system_.run_command(START_TIMER, true);
  system_.run_command(START_TIMER, true);

  EXPECT_TRUE(system_.planned().at(0).is_noop);
  EXPECT_FALSE(system_.planned().at(1).is_noop);
}

TEST_F(PlanningSystem, DoesNotKnowOfQueriesThatNobodyAsked) {
  EXPECT_FALSE(system_.exit_code_of(IS_HELD));
}

}  // namespace
}  // namespace zant::velmora_host
