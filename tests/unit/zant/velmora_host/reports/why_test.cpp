#include <zant/velmora_host/reports/why.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/host_side/made_up_family.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <string>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using std::chrono::system_clock;
using test_support::Parcel_Host;
using test_support::registry_with_parcel;

const auto NOW = system_clock::from_time_t(1800000000);

Verdict blocked() {
  Verdict verdict;
  verdict.kind = Verdict_Kind::BLOCKED;
  verdict.found = NOW;
  verdict.outlook.installed = "1.0";
  verdict.outlook.offered = "2.0";
  verdict.outlook.newer_is_offered = true;
  verdict.outlook.refreshed = NOW;
  verdict.outlook.next_run = NOW;
  verdict.outlook.last_run = Upgrade_Run{NOW, false, "exit-code"};
  verdict.outlook.causes = {
      {Cause_Effect::BLOCKS, "package.pinned", "A pin keeps zant-velmora at 1.0",
       "/etc/apt/preferences:1: Pin: version 1.0\n/etc/apt/preferences:2: \x1b[31m",
       "rm /etc/apt/preferences", true},
      {Cause_Effect::OBSCURES, "tools.failed", "Nobody knows", "apt says no", "Ask the vendor"}};
  verdict.history.offered = {"2.0", NOW};
  verdict.history.installed = {"1.0", NOW};
  verdict.history.runs = {{NOW, false, "exit-code"}};
  return verdict;
}

TEST(WhyTest, IsAPageForAPerson) {
  EXPECT_EQ(to_text(blocked()),
            "Verdict             blocked: zant-velmora 1.0, 2.0 is offered: A pin keeps zant-velmora at 1.0\n"
            "Installed           1.0, since 2027-01-15T08:00:00Z or earlier\n"
            "Offered             2.0, newer since 2027-01-15T08:00:00Z\n"
            "Repository answered 2027-01-15T08:00:00Z\n"
            "Next run            2027-01-15T08:00:00Z\n"
            "Last run            2027-01-15T08:00:00Z, failed (exit-code)\n"
            "\n"
            "A pin keeps zant-velmora at 1.0 [package.pinned]\n"
            "    Evidence: /etc/apt/preferences:1: Pin: version 1.0\n"
            "        /etc/apt/preferences:2: \\x1b[31m\n"
            "    Remedy, to type: rm /etc/apt/preferences\n"
            "\n"
            "Nobody knows [tools.failed]\n"
            "    Evidence: apt says no\n"
            "    Remedy: Ask the vendor\n");
}

TEST(WhyTest, IsHarmlessWhateverTheCodes) {
  Verdict verdict = blocked();
  verdict.outlook.causes[0].code = "a\x1b[2J";

  EXPECT_THAT(to_text(verdict), ::testing::HasSubstr("[a\\x1b[2J]"));
}

TEST(WhyTest, SaysWhatItDoesNotKnow) {
  EXPECT_EQ(to_text(Verdict{}),
            "Verdict             cannot be told: the host's tools do not tell which version is installed\n"
            "Installed           unknown, or not installed\n"
            "Offered             unknown, or none\n"
            "Repository answered unknown\n"
            "Next run            unknown\n"
            "Last run            unknown\n");
}

TEST(WhyTest, IsADocumentForPrograms) {
  EXPECT_EQ(Json::parse(to_json_text(blocked())), Json::parse(R"({
    "format": "package-minder/why",
    "version": 1,
    "verdict": "blocked",
    "installed": "1.0",
    "installed_since": "2027-01-15T08:00:00Z",
    "offered": "2.0",
    "offered_since": "2027-01-15T08:00:00Z",
    "refreshed": "2027-01-15T08:00:00Z",
    "next_run": "2027-01-15T08:00:00Z",
    "runs": [{"ended": "2027-01-15T08:00:00Z", "succeeded": false, "result": "exit-code"}],
    "online": false,
    "causes": [
      {
        "code": "package.pinned",
        "effect": "blocks",
        "message": "A pin keeps zant-velmora at 1.0",
        "evidence": "/etc/apt/preferences:1: Pin: version 1.0\n/etc/apt/preferences:2: \u001b[31m",
        "remedy": "rm /etc/apt/preferences",
        "configuration": true
      },
      {
        "code": "tools.failed",
        "effect": "obscures",
        "message": "Nobody knows",
        "evidence": "apt says no",
        "remedy": "Ask the vendor",
        "configuration": false
      }
    ]
  })"));
}

TEST(WhyTest, HasNullsForWhatItDoesNotKnow) {
  const auto document = Json::parse(to_json_text(Verdict{}));

  for (const char* member :
       {"installed", "installed_since", "offered", "offered_since", "refreshed", "next_run"}) {
    EXPECT_TRUE(document.at(member).is_null()) << member;
  }
  EXPECT_EQ(document.at("runs"), Json::array());
  EXPECT_EQ(document.at("causes"), Json::array());
}

TEST(WhyTest, RemembersWhatAServiceHasSeen) {
  Parcel_Host host;
  host.services.filesystem->create_directories(host.state_directory());
  host.services.filesystem->write_file(host.state_directory() / "package-minder-state", "",
                                       velmora::Write_Flag::REPLACE);
  Verdict seen;
  const auto since = system_clock::from_time_t(1600000000);
  seen.history.offered = {"4", since};
  verdict_store::write(*host.services.filesystem, verdict_store::file_in(host.state_directory()), seen);
  const std::string kept = host.services.filesystem->read_file(verdict_store::file_in(host.state_directory()),
                                                               velmora::Read_Flag::WHOLE_TEXT);

  const Verdict verdict = make_verdict(host.settings(), host.services, false, registry_with_parcel());

  EXPECT_EQ(verdict.history.offered->since, since);
  // The report changes nothing, not even there.
  EXPECT_EQ(host.services.filesystem->read_file(verdict_store::file_in(host.state_directory()),
                                                velmora::Read_Flag::WHOLE_TEXT),
            kept);
}

TEST(WhyTest, AsksTheRepositoryWhenItMay) {
  Parcel_Host host;
  const auto registry = registry_with_parcel([](const Outlook_Question& question) {
    Upgrade_Outlook outlook;
    outlook.installed = question.online ? "online" : "offline";
    return outlook;
  });

  EXPECT_EQ(make_verdict(host.settings(), host.services, true, registry).outlook.installed, "online");
  EXPECT_EQ(make_verdict(host.settings(), host.services, false, registry).outlook.installed, "offline");
}

}  // namespace
}  // namespace zant::velmora_host
