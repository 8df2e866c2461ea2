#include <zant/velmora_host/verdict/verdict.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using std::chrono::hours;
using std::chrono::seconds;
using std::chrono::system_clock;
using ::testing::ElementsAre;

const auto JUDGED_AT = system_clock::from_time_t(1800000000);  // 2027-01-15T08:00:00Z
constexpr auto WEEK = hours(24 * 7);

Cause cause(Cause_Effect effect, const std::string& message = "The package is held") {
  return {effect, "hold.held", message, "apt-mark showhold: zant-velmora", "apt-mark unhold zant-velmora"};
}

Upgrade_Outlook with(const std::string& installed, const std::string& offered) {
  Upgrade_Outlook outlook;
  outlook.installed = installed;
  outlook.offered = offered;
  outlook.newer_is_offered = installed != offered;
  return outlook;
}

Upgrade_Run run(system_clock::time_point ended) {
  return {ended, true, "success"};
}

std::vector<system_clock::time_point> ends_of(const std::vector<Upgrade_Run>& runs) {
  std::vector<system_clock::time_point> ends;
  for (const auto& each : runs) {
    ends.push_back(each.ended);
  }
  return ends;
}

// --- judge ---------------------------------------------------------------------

TEST(JudgeTest, IsUpToDateWhenNothingNewerIsOffered) {
  EXPECT_EQ(judge(with("2.0", "2.0"), {}, WEEK, JUDGED_AT), Verdict_Kind::UP_TO_DATE);
}

TEST(JudgeTest, IsWaitingUntilTheTimeIsOver) {
  Upgrade_History history;
  history.offered = {"2.0", JUDGED_AT - WEEK};

  EXPECT_EQ(judge(with("1.0", "2.0"), {}, WEEK, JUDGED_AT), Verdict_Kind::WAITING);
  EXPECT_EQ(judge(with("1.0", "2.0"), history, WEEK, JUDGED_AT), Verdict_Kind::WAITING);
}

TEST(JudgeTest, IsOverdueASecondLater) {
  Upgrade_History history;
  history.offered = {"2.0", JUDGED_AT - WEEK - seconds(1)};

  EXPECT_EQ(judge(with("1.0", "2.0"), history, WEEK, JUDGED_AT), Verdict_Kind::OVERDUE);
}

TEST(JudgeTest, IsBlockedByACauseAlsoWhileNothingNewerIsOffered) {
  auto outlook = with("2.0", "2.0");
  outlook.causes = {cause(Cause_Effect::OBSCURES), cause(Cause_Effect::BLOCKS)};

  EXPECT_EQ(judge(outlook, {}, WEEK, JUDGED_AT), Verdict_Kind::BLOCKED);
}

TEST(JudgeTest, CannotTellWhenSomethingIsObscured) {
  Upgrade_History history;
  history.offered = {"2.0", JUDGED_AT - WEEK - WEEK};
  auto outlook = with("1.0", "2.0");
  outlook.causes = {cause(Cause_Effect::OBSCURES)};

  EXPECT_EQ(judge(outlook, history, WEEK, JUDGED_AT), Verdict_Kind::CANNOT_BE_TOLD);
}

TEST(JudgeTest, CannotTellWithoutAnInstalledVersion) {
  EXPECT_EQ(judge({}, {}, WEEK, JUDGED_AT), Verdict_Kind::CANNOT_BE_TOLD);
}

// --- remembered ----------------------------------------------------------------

TEST(RememberedTest, KeepsTheTimeOfTheFirstOffer) {
  auto history = remembered({}, with("1.0", "2.0"), JUDGED_AT - hours(2));
  history = remembered(history, with("1.0", "2.0"), JUDGED_AT - hours(1));
  history = remembered(history, with("1.0", "2.1"), JUDGED_AT);

  EXPECT_EQ(history.offered->version, "2.1");
  EXPECT_EQ(history.offered->since, JUDGED_AT - hours(2));
}

TEST(RememberedTest, ForgetsTheOfferOnceItIsInstalled) {
  auto history = remembered({}, with("1.0", "2.0"), JUDGED_AT - hours(2));
  history = remembered(history, with("2.0", "2.0"), JUDGED_AT);

  EXPECT_FALSE(history.offered);
  EXPECT_EQ(history.installed->version, "2.0");
  EXPECT_EQ(history.installed->since, JUDGED_AT);
  EXPECT_EQ(history.version_changed, JUDGED_AT);
}

TEST(RememberedTest, CountsAnewWhenAnotherVersionWaitsBehindTheOneThatWasInstalled) {
  auto history = remembered({}, with("1.0", "2.0"), JUDGED_AT - hours(2));
  history = remembered(history, with("2.0", "3.0"), JUDGED_AT);

  EXPECT_EQ(history.offered->version, "3.0");
  EXPECT_EQ(history.offered->since, JUDGED_AT);
}

TEST(RememberedTest, TakesTheFirstVersionThatIsSeenForNoChange) {
  EXPECT_FALSE(remembered({}, with("1.0", "1.0"), JUDGED_AT).version_changed);
}

TEST(RememberedTest, KeepsAllWhileTheToolsFail) {
  const auto history = remembered({}, with("1.0", "2.0"), JUDGED_AT - hours(2));
  Upgrade_Outlook nothing;
  nothing.causes = {cause(Cause_Effect::OBSCURES)};
  auto without_lists = with("1.0", "1.0");
  without_lists.causes = {cause(Cause_Effect::OBSCURES)};

  EXPECT_EQ(remembered(history, nothing, JUDGED_AT).offered->since, JUDGED_AT - hours(2));
  EXPECT_EQ(remembered(history, nothing, JUDGED_AT).installed->version, "1.0");
  EXPECT_EQ(remembered(history, without_lists, JUDGED_AT).offered->version, "2.0");
}

TEST(RememberedTest, KeepsTheLastTenRuns) {
  Upgrade_History history;
  std::vector<system_clock::time_point> expected;
  for (int hour = 12; hour > 0; --hour) {
    auto outlook = with("1.0", "1.0");
    outlook.last_run = run(JUDGED_AT - hours(hour));
    history = remembered(history, outlook, JUDGED_AT);
    if (hour <= 10) {
      expected.push_back(JUDGED_AT - hours(hour));
    }
  }

  EXPECT_EQ(ends_of(history.runs), expected);
}

TEST(RememberedTest, KeepsARunOnce) {
  auto outlook = with("1.0", "1.0");
  outlook.last_run = run(JUDGED_AT);

  EXPECT_THAT(ends_of(remembered(remembered({}, outlook, JUDGED_AT), outlook, JUDGED_AT).runs),
              ElementsAre(JUDGED_AT));
}

TEST(RememberedTest, BringsTimesBackWhenTheClockWasSetBack) {
  Upgrade_History history;
  history.offered = {"2.0", JUDGED_AT + hours(1000)};
  history.installed = {"1.0", JUDGED_AT + hours(1000)};
  history.version_changed = JUDGED_AT + hours(1000);
  history.runs = {run(JUDGED_AT - hours(1)), run(JUDGED_AT + hours(1000))};
  auto outlook = with("1.0", "2.0");
  outlook.last_run = run(JUDGED_AT);

  history = remembered(history, outlook, JUDGED_AT);

  EXPECT_EQ(history.offered->since, JUDGED_AT);
  EXPECT_EQ(history.installed->since, JUDGED_AT);
  EXPECT_EQ(history.version_changed, JUDGED_AT);
  EXPECT_THAT(ends_of(history.runs), ElementsAre(JUDGED_AT - hours(1), JUDGED_AT));
}

// --- describe --------------------------------------------------------------------

class DescribedVerdict : public ::testing::Test {
 protected:
  std::string description(Verdict_Kind kind, const Upgrade_Outlook& outlook) {
    verdict_.kind = kind;
    verdict_.outlook = outlook;
    return describe(verdict_);
  }

  Verdict verdict_;
};

TEST_F(DescribedVerdict, NamesTheVersionThatIsUpToDate) {
  EXPECT_EQ(description(Verdict_Kind::UP_TO_DATE, with("2.0", "2.0")), "up to date: zant-velmora 2.0");
}

TEST_F(DescribedVerdict, SaysWhenTheNextRunIs) {
  auto outlook = with("1.0", "2.0");
  EXPECT_EQ(description(Verdict_Kind::WAITING, outlook),
            "waiting: zant-velmora 1.0, 2.0 is offered and will be installed at an unknown time");

  outlook.next_run = JUDGED_AT;
  EXPECT_EQ(description(Verdict_Kind::WAITING, outlook),
            "waiting: zant-velmora 1.0, 2.0 is offered and will be installed at 2027-01-15T08:00:00Z");
}

TEST_F(DescribedVerdict, SaysSinceWhenItIsOverdue) {
  verdict_.history.offered = {"2.0", JUDGED_AT};

  EXPECT_EQ(description(Verdict_Kind::OVERDUE, with("1.0", "2.0")),
            "overdue: zant-velmora 1.0, 2.0 has been offered since 2027-01-15T08:00:00Z and nothing is known "
            "that stops it");
}

TEST_F(DescribedVerdict, SaysWhatBlocks) {
  auto outlook = with("1.0", "2.0");
  outlook.causes = {cause(Cause_Effect::OBSCURES, "The lists are old"), cause(Cause_Effect::BLOCKS)};
  EXPECT_EQ(description(Verdict_Kind::BLOCKED, outlook),
            "blocked: zant-velmora 1.0, 2.0 is offered: The package is held");

  outlook.newer_is_offered = false;
  EXPECT_EQ(description(Verdict_Kind::BLOCKED, outlook), "blocked: zant-velmora 1.0: The package is held");

  outlook.installed = "";
  EXPECT_EQ(description(Verdict_Kind::BLOCKED, outlook), "blocked: zant-velmora: The package is held");
}

TEST_F(DescribedVerdict, SaysWhyItCannotBeTold) {
  Upgrade_Outlook outlook;
  EXPECT_EQ(description(Verdict_Kind::CANNOT_BE_TOLD, outlook),
            "cannot be told: the host's tools do not tell which version is installed");

  outlook.causes = {cause(Cause_Effect::OBSCURES, "The lists are old")};
  EXPECT_EQ(description(Verdict_Kind::CANNOT_BE_TOLD, outlook), "cannot be told: The lists are old");
}

TEST(VerdictTest, CountsTheTimeOfTheOffer) {
  Verdict verdict;
  verdict.found = JUDGED_AT;
  EXPECT_EQ(offered_for(verdict), seconds(0));

  verdict.history.offered = {"2.0", JUDGED_AT - seconds(90)};
  EXPECT_EQ(offered_for(verdict), seconds(90));
}

TEST(VerdictTest, CountsNoTimeOfAnOfferToCome) {
  Verdict verdict;
  verdict.found = JUDGED_AT;
  verdict.history.offered = {"2.0", JUDGED_AT + hours(1)};

  EXPECT_EQ(offered_for(verdict), seconds(0));
}

TEST(VerdictTest, IsKnownByItsName) {
  const std::vector<std::string> names = {"up_to_date", "waiting", "overdue", "blocked", "cannot_be_told"};
  for (std::size_t index = 0; index < names.size(); ++index) {
    EXPECT_EQ(to_string(VERDICT_KINDS.at(index)), names[index]);
    EXPECT_EQ(verdict_kind_from(names[index]), VERDICT_KINDS.at(index));
  }
  EXPECT_FALSE(verdict_kind_from("fine"));
}

TEST(CauseTest, TellsACommandFromASentence) {
  Cause told = cause(Cause_Effect::BLOCKS);
  EXPECT_EQ(with_remedy(told), "The package is held: run \"apt-mark unhold zant-velmora\"");

  told.remedy = "Ask the vendor for a signed package";
  EXPECT_EQ(with_remedy(told), "The package is held. Ask the vendor for a signed package");

  told.remedy = "";
  EXPECT_EQ(with_remedy(told), "The package is held");
}

}  // namespace
}  // namespace zant::velmora_host
