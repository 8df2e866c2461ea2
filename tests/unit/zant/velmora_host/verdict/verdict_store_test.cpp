#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <string>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using std::chrono::system_clock;

constexpr const char* FILE = "/state/verdict.json";
const auto NOW = system_clock::from_time_t(1800000000);

Verdict full_verdict() {
  Verdict verdict;
  verdict.kind = Verdict_Kind::BLOCKED;
  verdict.found = NOW;
  verdict.online = true;
  verdict.outlook.installed = "1.0";
  verdict.outlook.offered = "2.0";
  verdict.outlook.newer_is_offered = true;
  verdict.outlook.refreshed = NOW;
  verdict.outlook.next_run = NOW;
  verdict.outlook.last_run = Upgrade_Run{NOW, false, "exit-code"};
  verdict.outlook.causes = {
      {Cause_Effect::BLOCKS, "package.pinned", "A pin", "/etc/apt/preferences:1: Pin", "rm it", true},
      {Cause_Effect::OBSCURES, "tools.failed", "Nobody knows", "apt\nsays", "Wait", false}};
  verdict.history.offered = {"2.0", NOW};
  verdict.history.installed = {"1.0", NOW};
  verdict.history.version_changed = NOW;
  verdict.history.runs = {{NOW, false, "exit-code"}};
  return verdict;
}

class VerdictStore : public ::testing::Test {
 protected:
  VerdictStore() { filesystem_.add_directory("/state"); }

  std::string text() { return filesystem_.read_file(FILE, velmora::Read_Flag::WHOLE_TEXT); }

  std::optional<Verdict> read(const std::string& text) {
    filesystem_.write_file(FILE, text, velmora::Write_Flag::REPLACE);
    return verdict_store::read(filesystem_, FILE);
  }

  velmora::test_support::Fake_Filesystem filesystem_;
};

TEST_F(VerdictStore, IsAFileOfTheStateDirectory) {
  EXPECT_EQ(verdict_store::file_in("/state"), "/state/verdict.json");
}

TEST_F(VerdictStore, GivesBackWhatItKeeps) {
  ASSERT_TRUE(verdict_store::write(filesystem_, FILE, full_verdict()));
  const std::string kept = text();

  const auto verdict = verdict_store::read(filesystem_, FILE);

  ASSERT_TRUE(verdict);
  EXPECT_EQ(verdict->kind, Verdict_Kind::BLOCKED);
  EXPECT_EQ(verdict->found, NOW);
  EXPECT_EQ(verdict->outlook.causes[0].evidence, "/etc/apt/preferences:1: Pin");
  EXPECT_TRUE(verdict->outlook.causes[0].is_of_configuration);
  EXPECT_EQ(verdict->outlook.causes[1].effect, Cause_Effect::OBSCURES);
  EXPECT_EQ(verdict->history.runs[0].result, "exit-code");
  // All of it: a second writing gives the same text.
  ASSERT_TRUE(verdict_store::write(filesystem_, FILE, *verdict));
  EXPECT_EQ(text(), kept);
}

TEST_F(VerdictStore, KeepsWhatIsNotKnownAsNull) {
  Verdict verdict;
  verdict.found = NOW;
  ASSERT_TRUE(verdict_store::write(filesystem_, FILE, verdict));
  const auto document = Json::parse(text());

  EXPECT_TRUE(document.at("outlook").at("installed").is_null());
  EXPECT_TRUE(document.at("outlook").at("next_run").is_null());
  EXPECT_TRUE(document.at("history").at("offered").is_null());
  const auto again = verdict_store::read(filesystem_, FILE);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->kind, Verdict_Kind::CANNOT_BE_TOLD);
  EXPECT_FALSE(again->outlook.last_run);
}

TEST_F(VerdictStore, TakesNothingElseForAVerdict) {
  EXPECT_FALSE(verdict_store::read(filesystem_, "/state/missing.json"));
  EXPECT_FALSE(read(""));
  EXPECT_FALSE(read("{"));
  EXPECT_FALSE(read("[]"));
  EXPECT_FALSE(read("{\"verdict\": \"blocked\"}"));
}

// Each member is left out, made null, and given a value of a type that it does not have.
TEST_F(VerdictStore, SurvivesAnyChangeOfItsFile) {
  ASSERT_TRUE(verdict_store::write(filesystem_, FILE, full_verdict()));
  const Json whole = Json::parse(text()).flatten();
  for (const auto& item : whole.items()) {
    for (const Json& value : {Json(), Json(-1), Json("9999999-99-99T99:99:99Z")}) {
      Json changed = whole;
      changed[item.key()] = value;
      read(changed.unflatten().dump());
    }
    Json changed = whole;
    changed.erase(item.key());
    read(changed.unflatten().dump());
  }
  EXPECT_TRUE(read(whole.unflatten().dump()));
}

TEST_F(VerdictStore, RefusesUnknownNames) {
  ASSERT_TRUE(verdict_store::write(filesystem_, FILE, full_verdict()));
  Json document = Json::parse(text());
  document["verdict"] = "splendid";
  EXPECT_FALSE(read(document.dump()));

  document["verdict"] = "blocked";
  EXPECT_TRUE(read(document.dump()));
  document["outlook"]["causes"][0]["effect"] = "delights";
  EXPECT_FALSE(read(document.dump()));
}

}  // namespace
}  // namespace zant::velmora_host
