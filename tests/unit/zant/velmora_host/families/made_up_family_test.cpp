// Adding a family is adding its room and registering it: status, plan, check and a recorded cycle know
// nothing of the one below but what its room says.

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/minding/cycle_runner.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>

#include <support/host_side/made_up_family.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using namespace test_support;

class MadeUpFamily : public ::testing::Test {
 protected:
  const Family_Registry registry_ = registry_with_parcel();
  Parcel_Host host_;
};

TEST_F(MadeUpFamily, HasItsCyclesRecorded) {
  host_.system->once(IS_HELD, 0);
  host_.system->on(RELEASE, 0);
  const Settings settings = host_.settings();

  const auto record =
      Cycle_Runner("once", settings, host_.services, registry_).cycles().run_cycle().last_cycle;

  EXPECT_TRUE(record.succeeded());
  ASSERT_EQ(record.files.size(), 1U);
  EXPECT_EQ(record.files[0].path, REPOSITORY_FILE);
  EXPECT_EQ(record.files[0].outcome, File_Outcome::INSTALLED);
  ASSERT_EQ(record.commands.size(), 2U);
  EXPECT_EQ(record.commands[0].line, RELEASE);
  EXPECT_EQ(record.commands[1].line, START_TIMER);
  EXPECT_EQ(host_.read(REPOSITORY_FILE), "the repository\n");
}

TEST_F(MadeUpFamily, HasTheFailuresOfItsCommandsRecorded) {
  host_.system->on(START_TIMER, 1);
  const Settings settings = host_.settings();

  const auto state = Cycle_Runner("once", settings, host_.services, registry_).cycles().run_cycle();

  ASSERT_EQ(state.last_cycle.failures.size(), 1U);
  EXPECT_EQ(state.last_cycle.failures[0].message, "parcel.timer could not be started");
  EXPECT_EQ(state.history.failures.at(Cycle_Step::UPGRADES), 1U);
}

TEST_F(MadeUpFamily, IsPlannedFor) {
  const Plan plan = make_plan(Plan::Operation::CYCLE, host_.settings(), host_.services, registry_);

  ASSERT_EQ(plan.files.size(), 1U);
  EXPECT_EQ(plan.files[0].path, REPOSITORY_FILE);
  ASSERT_EQ(plan.commands.size(), 1U);
  EXPECT_TRUE(plan.commands[0].is_noop);
  EXPECT_EQ(plan.hold, Hold_State::NOT_HELD);
  EXPECT_THAT(host_.system->commands(), ::testing::Not(Contains(START_TIMER)));
}

TEST_F(MadeUpFamily, HasItsStatusShown) {
  host_.answer_status();

  EXPECT_EQ(to_text(make_status(host_.settings(), host_.services, PROGRAM_SERVICE, registry_)),
            "Verdict             blocked: zant-velmora 3, 4 is offered: The parcel is glued\n"
            "Host                package manager Parcel, init systemd\n"
            "Service             active\n"
            "Package             zant-velmora 3 installed, 4 offered\n"
            "Repository          not registered\n"
            "    /etc/parcel/velmora.conf is missing\n"
            "Hold                not held\n"
            "Automatic upgrades  on, in step\n"
            "Timer               parcel.timer, next run 2026-11-21T03:00:00Z\n"
            "Last cycle          none is recorded\n"
            "\n"
            "Needs attention:\n"
            "  - The parcel is glued: run \"unglue\" [parcel.glued]\n"
            "  - The repository is not registered [repository.not_registered]\n"
            "  - No cycle is recorded on this host [cycle.never_ran]\n"
            "  - parcel: accepts everything; be choosy [parcel.weak]\n");
}

TEST_F(MadeUpFamily, IsChecked) {
  host_.system->on("command -v parcel > /dev/null", 1);
  host_.system->on("command -v systemctl > /dev/null", 0);
  host_.system->on("test -w /etc/parcel", 0);
  host_.system->on("test -w /etc/systemd/system", 0);
  host_.system->on("systemctl is-enabled parcel.timer 2> /dev/null", 1, "masked\n");

  std::vector<std::string> codes;
  for (const auto& finding : make_check_report(host_.settings(), host_.services, false, registry_).findings) {
    codes.push_back(finding.code);
  }

  EXPECT_THAT(codes, ElementsAre("tools.missing", "units.masked", "parcel.made_up", "parcel.weak"));
}

TEST_F(MadeUpFamily, GivesItsCommandsTheirEnvironment) {
  EXPECT_EQ(registry_.command_environment().at("PARCEL"), "quiet");
}

TEST_F(MadeUpFamily, IsNotServedWithoutItsRoom) {
  const Settings settings = host_.settings();
  try {
    find_minded_host(settings, host_.services);
    ADD_FAILURE() << "it was taken for another";
  } catch (const Refusal& refusal) {
    EXPECT_EQ(refusal.reason(), Refusal_Reason::UNSUPPORTED_HOST);
    EXPECT_THAT(refusal.what(), HasSubstr("no supported package manager"));
  }
}

}  // namespace
}  // namespace zant::velmora_host
