#include <zant/velmora_host/reports/planning_system.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>

#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>
#include <support/host_side/fake_host_filesystem.hpp>

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
  std::shared_ptr<velmora::test_support::Fake_Filesystem> real_files_ =
      std::make_shared<velmora::test_support::Fake_Filesystem>();
  std::shared_ptr<velmora::test_support::Fake_Filesystem> planned_files_ =
      std::make_shared<velmora::test_support::Fake_Filesystem>();
  const APT_Family apt_;
  const DNF_Family dnf_;
  const Host_Services host_{real_, std::make_shared<test_support::Fake_Host_Filesystem>(real_files_)};
  Planning_System system_{host_, apt_, planned_files_};
};

TEST_F(PlanningSystem, RunsQueries) {
  real_->on(IS_HELD, 1, "text");

  const auto result = system_.run_command(IS_HELD, true);

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.output, "text");
  EXPECT_THAT(system_.planned(), IsEmpty());
  EXPECT_EQ(system_.answer_to(IS_HELD).value().exit_code, 1);
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

TEST_F(PlanningSystem, AsksInTheFormThatWaitsForNoServer) {
  constexpr const char* IS_LISTED = "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora";
  real_->on("dnf --cacheonly repoquery --repoid quorvane -q | grep -q ^zant-velmora", 1);
  Planning_System system{host_, dnf_, planned_files_};

  EXPECT_EQ(system.run_command(IS_LISTED, true).exit_code, 1);

  EXPECT_EQ(system.answer_to(IS_LISTED)->exit_code, 1);
}

TEST_F(PlanningSystem, DoesNotKnowOfQueriesThatNobodyAsked) {
  EXPECT_FALSE(system_.answer_to(IS_HELD));
}

TEST_F(PlanningSystem, AnswersAQueryAsItWouldBeAnsweredAfterWhatIsPlanned) {
  constexpr const char* IS_LISTED = "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora";
  planned_files_->add_file("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nbaseurl=https://repo.test/\n");
  Planning_System system{host_, dnf_, planned_files_};

  EXPECT_EQ(system.run_command(IS_LISTED, true).exit_code, 0);

  EXPECT_THAT(real_->commands(), IsEmpty());
  EXPECT_FALSE(system.answer_to(IS_LISTED)) << "the host was not asked";
}

}  // namespace
}  // namespace zant::velmora_host
