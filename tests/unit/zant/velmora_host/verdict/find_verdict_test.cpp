#include <zant/velmora_host/verdict/find_verdict.hpp>

#include <support/host_side/made_up_family.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <chrono>
#include <stdexcept>
#include <string>

namespace zant::velmora_host {
namespace {

using test_support::Parcel_Family;
using test_support::Parcel_Host;
using ::testing::SizeIs;

class FindVerdict : public ::testing::Test {
 protected:
  Verdict find(bool online = false, const Command_Bounds& bounds = {}) {
    const Settings settings = host_.settings();
    return find_verdict({settings, host_.services, family_, velmora::Init::systemd}, history_, online,
                        bounds);
  }

  Parcel_Host host_;
  Parcel_Family family_;
  Upgrade_History history_;
};

TEST_F(FindVerdict, AsksTheFamily) {
  boost::filesystem::path directory;
  family_.outlook = [&directory](const Outlook_Question& question) {
    directory = question.private_directory;
    EXPECT_TRUE(boost::filesystem::is_directory(directory));
    EXPECT_TRUE(question.online);
    return Parcel_Family::glued(question);
  };

  const Verdict verdict = find(true);

  EXPECT_EQ(verdict.kind, Verdict_Kind::BLOCKED);
  EXPECT_TRUE(verdict.online);
  EXPECT_EQ(verdict.outlook.causes[0].code, "parcel.glued");
  EXPECT_EQ(verdict.history.offered->version, "4");
  EXPECT_FALSE(boost::filesystem::exists(directory));
}

TEST_F(FindVerdict, JudgesByWhatIsRemembered) {
  history_.offered = {"4", std::chrono::system_clock::now() - std::chrono::hours(24 * 8)};
  family_.outlook = [](const Outlook_Question& question) {
    auto outlook = Parcel_Family::glued(question);
    outlook.causes.clear();
    return outlook;
  };

  EXPECT_EQ(find().kind, Verdict_Kind::OVERDUE);
}

TEST_F(FindVerdict, CannotTellWhenTheFamilyFails) {
  family_.outlook = [](const Outlook_Question&) -> Upgrade_Outlook { throw std::runtime_error("no parcel"); };

  const Verdict verdict = find();

  EXPECT_EQ(verdict.kind, Verdict_Kind::CANNOT_BE_TOLD);
  ASSERT_THAT(verdict.outlook.causes, SizeIs(1));
  EXPECT_EQ(verdict.outlook.causes[0].code, "tools.failed");
  EXPECT_EQ(verdict.outlook.causes[0].evidence, "no parcel");
}

TEST_F(FindVerdict, CannotTellWhenTheTimeIsOver) {
  family_.outlook = [](const Outlook_Question& question) {
    EXPECT_EQ(question.services.system->run_command("parcel next", true).exit_code, 124);
    auto outlook = Parcel_Family::glued(question);
    outlook.causes.clear();
    return outlook;
  };

  const Verdict verdict = find(false, {std::chrono::steady_clock::now(), {}});

  EXPECT_EQ(verdict.kind, Verdict_Kind::CANNOT_BE_TOLD);
  ASSERT_THAT(verdict.outlook.causes, SizeIs(1));
  EXPECT_EQ(verdict.outlook.causes[0].code, "tools.time_limit");
  EXPECT_EQ(verdict.outlook.causes[0].evidence, "\"parcel next\" did not end in time");
  EXPECT_THAT(host_.system->commands(), SizeIs(0));
}

TEST_F(FindVerdict, LeavesItToTheFamilyToTellWhichToolTookTooLong) {
  family_.outlook = [](const Outlook_Question& question) {
    question.services.system->run_command("parcel next", true);
    auto outlook = Parcel_Family::glued(question);
    outlook.causes = {
        {Cause_Effect::OBSCURES, "tools.time_limit", "The parcels are slow", "parcel next", ""}};
    return outlook;
  };

  const Verdict verdict = find(false, {std::chrono::steady_clock::now(), {}});

  ASSERT_THAT(verdict.outlook.causes, SizeIs(1));
  EXPECT_EQ(verdict.outlook.causes[0].message, "The parcels are slow");
}

TEST_F(FindVerdict, ShortensWhatToolsPrint) {
  family_.outlook = [](const Outlook_Question& question) {
    auto outlook = Parcel_Family::glued(question);
    outlook.causes[0].evidence = std::string(100000, 'x');
    outlook.causes[0].message = std::string(100000, 'x');
    return outlook;
  };

  const Cause cause = find().outlook.causes.at(0);

  EXPECT_EQ(cause.evidence, std::string(2000, 'x') + "[...]");
  EXPECT_EQ(cause.message, std::string(500, 'x') + "[...]");
}

TEST_F(FindVerdict, ShortensTheVersionsToo) {
  family_.outlook = [](const Outlook_Question&) {
    Upgrade_Outlook outlook;
    outlook.installed = std::string(1000, '1');
    outlook.offered = std::string(1000, '2');
    outlook.last_run = Upgrade_Run{std::chrono::system_clock::now(), false, std::string(1000, 'x')};
    return outlook;
  };
  const Verdict verdict = find();

  EXPECT_EQ(verdict.outlook.installed, std::string(500, '1') + "[...]");
  EXPECT_EQ(verdict.outlook.offered, std::string(500, '2') + "[...]");
  EXPECT_EQ(verdict.outlook.last_run->result, std::string(500, 'x') + "[...]");
}

TEST_F(FindVerdict, GivesNoRemedyThatCannotBeTyped) {
  family_.outlook = [](const Outlook_Question&) {
    Upgrade_Outlook outlook;
    outlook.causes = {{Cause_Effect::BLOCKS, "a", "A", "1", "rm '/etc/x\nreboot'"},
                      {Cause_Effect::BLOCKS, "b", "B", "2", "Correct /etc/x\nthat is all"},
                      {Cause_Effect::BLOCKS, "c", "C", "3", "rm '/etc/\x1b[2J'"},
                      {Cause_Effect::BLOCKS, "d", "D", "4", "rm '/etc/\xff'"}};
    return outlook;
  };
  const auto causes = find().outlook.causes;

  ASSERT_THAT(causes, SizeIs(4));
  EXPECT_EQ(causes[0].remedy, "Put right what the evidence names; its name cannot be typed");
  EXPECT_EQ(causes[1].remedy, "Correct /etc/x that is all");
  EXPECT_EQ(causes[2].remedy, causes[0].remedy);
  EXPECT_EQ(causes[3].remedy, causes[0].remedy);
}

TEST_F(FindVerdict, NamesACauseOnce) {
  family_.outlook = [](const Outlook_Question& question) {
    auto outlook = Parcel_Family::glued(question);
    outlook.causes.push_back(outlook.causes[0]);
    outlook.causes.push_back(outlook.causes[0]);
    outlook.causes[2].evidence = "another glue";
    return outlook;
  };

  EXPECT_THAT(find().outlook.causes, SizeIs(2));
}

}  // namespace
}  // namespace zant::velmora_host
