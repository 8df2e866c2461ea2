// What the reports say of a host whose tools do not answer in time.

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/made_up_family.hpp>
#include <support/host_side/told_outlook.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using json_document::Json;
using test_support::Parcel_Host;
using test_support::registry_with_parcel;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// The same for every command, whose time is over before it begins.
class ReportLimit : public ::testing::Test {
 protected:
  static Upgrade_Outlook ask(const Outlook_Question& question) {
    question.services.system->run_command("parcel next", true);
    Upgrade_Outlook outlook;
    outlook.installed = "3";
    return outlook;
  }

  Parcel_Host host_;
  const Family_Registry registry_ = registry_with_parcel(ask);
  const Report_Services none_left_{host_.services, std::chrono::seconds(0)};
};

TEST_F(ReportLimit, StartsNothing) {
  make_status(host_.settings(), none_left_, PROGRAM_SERVICE, registry_);
  make_plan(Plan::Operation::CYCLE, host_.settings(), none_left_, registry_);
  make_check_report(host_.settings(), none_left_, false, registry_);

  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

TEST_F(ReportLimit, MakesAStatusSayWhatItDoesNotKnow) {
  const Status status = make_status(host_.settings(), none_left_, PROGRAM_SERVICE, registry_);

  EXPECT_EQ(to_text(status),
            "Verdict             cannot be told: The host's tools did not answer in time\n"
            "Host                package manager Parcel, init systemd\n"
            "Service             unknown\n"
            "Package             zant-velmora 3 installed, unknown what is offered\n"
            "Repository          not registered\n"
            "Hold                unknown\n"
            "Automatic upgrades  on, unknown whether in step\n"
            "Timer               parcel.timer, unknown whether it is running\n"
            "Last cycle          none is recorded\n"
            "\n"
            "Needs attention:\n"
            "  - The host's tools did not answer in time. Ask again when the host is less busy; if that does "
            "not help, run the command of the evidence to see what it waits for [tools.time_limit]\n"
            "  - The repository is not registered [repository.not_registered]\n"
            "  - No cycle is recorded on this host [cycle.never_ran]\n"
            "  - The host's tools did not answer in time, so not everything is known: \"systemctl is-active "
            "package-minder.service 2> /dev/null\" did not end [report.time_limit]\n");
}

TEST(ReportLimitForPrograms, IsNullWhereItIsNotKnown) {
  test_support::Debian_Host host;
  host.set_up();
  const auto outlook = std::make_shared<Upgrade_Outlook>(test_support::outlook_of("1.0", "1.0"));

  const Status status = make_status(host.settings(), Report_Services(host.services, std::chrono::seconds(0)),
                                    PROGRAM_SERVICE, test_support::registry_with_told<APT_Family>(outlook));

  const auto document = Json::parse(to_json_text(status));
  EXPECT_EQ(document.at("verdict"), "up_to_date");
  EXPECT_EQ(document.at("reasons").back().at("code"), "report.time_limit");
  EXPECT_TRUE(document.at("timer").at("running").is_null());
  EXPECT_TRUE(document.at("timer").at("enabled").is_null());
  EXPECT_TRUE(document.at("repository").at("out_of_step").is_null());
  EXPECT_TRUE(document.at("automatic_upgrades").at("out_of_step").is_null());
  EXPECT_TRUE(document.at("automatic_upgrades").at("pending_commands").is_null());
}

TEST_F(ReportLimit, MakesAPlanSayThatItIsNone) {
  const Plan plan = make_plan(Plan::Operation::CYCLE, host_.settings(), none_left_, registry_);

  EXPECT_EQ(plan.outcome(), Plan::Outcome::FAILS);
  EXPECT_EQ(plan.failure, "the host's tools did not answer in time: \"parcel held\" did not end");
  EXPECT_THAT(to_text(plan),
              ::testing::StartsWith("What the next cycle would change could not be found out.\n"));
  EXPECT_THAT(to_text(plan), HasSubstr("\nUnknown after that: the host's tools did not answer in time: "));
}

TEST_F(ReportLimit, MakesACheckFindNothingWrong) {
  const Check_Report report = make_check_report(host_.settings(), none_left_, false, registry_);

  EXPECT_THAT(report.findings, IsEmpty());
  ASSERT_THAT(report.unchecked, SizeIs(2));
  EXPECT_EQ(report.unchecked[0].code, "upgrades");
  EXPECT_EQ(report.unchecked[1].code, "time_limit");
  EXPECT_EQ(report.unchecked[1].reason, "\"parcel held\" did not end in time");
}

// --- causes in a check ---------------------------------------------------------

class CausesInCheck : public ::testing::Test {
 protected:
  CausesInCheck() {
    for (const char* command : {"command -v parcel > /dev/null", "command -v systemctl > /dev/null",
                                "test -w /etc/parcel", "test -w /etc/systemd/system"}) {
      host_.system->on(command, 0);
    }
    host_.system->on("systemctl is-enabled parcel.timer 2> /dev/null", 0, "enabled\n");
  }

  std::vector<std::string> findings(bool online) {
    const auto registry = registry_with_parcel([](const Outlook_Question& question) {
      Upgrade_Outlook outlook;
      outlook.installed = "3";
      outlook.causes = {
          {Cause_Effect::BLOCKS, "parcel.glued", "Glued", "/etc/parcel/glue:1: yes\nmore", "unglue", true},
          {Cause_Effect::BLOCKS, "parcel.made_up", "Found by the check already", "", "none", true},
          {Cause_Effect::OBSCURES, "parcel.old", "Old", "the list", "wait"}};
      if (question.online) {
        outlook.causes.push_back({Cause_Effect::OBSCURES, "parcel.away", "Away", "the server", "Call it"});
      }
      return outlook;
    });
    std::vector<std::string> texts;
    for (const auto& finding :
         make_check_report(host_.settings(), host_.services, online, registry).findings) {
      texts.push_back(finding.code + " " + finding.where);
    }
    return texts;
  }

  Parcel_Host host_;
};

TEST_F(CausesInCheck, AreThoseOfTheConfiguration) {
  EXPECT_THAT(findings(false), ElementsAre("parcel.made_up parcel", "parcel.weak parcel",
                                           "parcel.glued /etc/parcel/glue:1: yes"));
}

TEST_F(CausesInCheck, AreAllWhenTheRepositoryIsAsked) {
  EXPECT_THAT(findings(true), ElementsAre("parcel.made_up parcel", "parcel.weak parcel",
                                          "parcel.glued /etc/parcel/glue:1: yes", "parcel.old the list",
                                          "parcel.away the server"));
}

}  // namespace
}  // namespace zant::velmora_host
