#include <zant/velmora_host/reports/status.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/observation/stalled_installation.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/told_outlook.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class StatusTest : public ::testing::Test {
 protected:
  StatusTest() {
    host_.set_up();
    host_.answer_status();
    host_.services.filesystem->create_directories(host_.state_directory());
    record(history_);
  }

  void record(const Cycle_History& history, const std::vector<Cycle_Failure>& failures = {}) {
    Cycle_Record last;
    last.program = "run";
    last.started = std::chrono::system_clock::from_time_t(1800000000);
    last.seconds = 0.25;
    last.actions = {"Set zant-velmora package to \"unhold\""};
    last.failures = failures;
    cycle_store::write(*host_.services.filesystem, cycle_store::file_in(host_.state_directory()),
                       {last, history});
  }

  Status status(const std::string& service = PROGRAM_SERVICE) {
    return make_status(host_.settings(), host_.services, service, registry_);
  }
  json_document::Json json() { return json_document::Json::parse(to_json_text(status())); }

  std::vector<std::string> reasons() {
    std::vector<std::string> codes;
    for (const auto& reason : status().reasons) {
      codes.push_back(reason.code);
    }
    return codes;
  }

  test_support::Debian_Host host_;
  std::shared_ptr<Upgrade_Outlook> outlook_ =
      std::make_shared<Upgrade_Outlook>(test_support::outlook_of("1.0", "1.1"));
  const Family_Registry registry_ = test_support::registry_with_told<APT_Family>(outlook_);
  Cycle_History history_;
};

TEST_F(StatusTest, NeedsNoAttentionWhenAllIsInOrder) {
  EXPECT_THAT(reasons(), IsEmpty());
  EXPECT_EQ(
      to_text(status()),
      "Verdict             waiting: zant-velmora 1.0, 1.1 is offered and will be installed at an unknown "
      "time\n"
      "Host                package manager APT, init systemd\n"
      "Service             active\n"
      "Package             zant-velmora 1.0 installed, 1.1 offered\n"
      "Repository          registered, in step\n"
      "Hold                not held\n"
      "Automatic upgrades  on, in step\n"
      "Timer               apt-daily-upgrade.timer, next run 2026-11-21T03:00:00Z\n"
      "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.2 s, succeeded\n"
      "    Set zant-velmora package to \"unhold\"\n"
      "\n"
      "Nothing needs attention.\n");
}

TEST_F(StatusTest, HasTheSameForPrograms) {
  const auto document = json();

  EXPECT_EQ(document.at("format"), "package-minder/status");
  EXPECT_EQ(document.at("package"),
            json_document::Json({{"name", "zant-velmora"}, {"installed", "1.0"}, {"offered", "1.1"}}));
  EXPECT_EQ(document.at("hold"), "not_held");
  EXPECT_EQ(document.at("repository").at("registered"), true);
  EXPECT_EQ(document.at("timer").at("running"), true);
  EXPECT_EQ(document.at("last_cycle").at("succeeded"), true);
  EXPECT_EQ(document.at("reasons"), json_document::Json::array());
}

TEST_F(StatusTest, NamesTheFileThatIsOutOfStep) {
  host_.write("/etc/apt/sources.list.d/zant-velmora.list", "deb http://elsewhere.test/ stable main\n");
  host_.services.filesystem->remove(boost::filesystem::path("/etc/apt/apt.conf.d/75lowerspeed"));

  const auto seen = status();

  ASSERT_EQ(seen.drifted_repository_files.size(), 1U);
  EXPECT_EQ(seen.drifted_repository_files[0].path, "/etc/apt/sources.list.d/zant-velmora.list");
  EXPECT_EQ(seen.drifted_repository_files[0].drift, Status::Drift::DIFFERS);
  ASSERT_EQ(seen.drifted_upgrade_files.size(), 1U);
  EXPECT_EQ(seen.drifted_upgrade_files[0].drift, Status::Drift::MISSING);
  EXPECT_THAT(reasons(), ElementsAre("repository.out_of_step", "upgrades.out_of_step"));
}

TEST_F(StatusTest, TellsAHold) {
  host_.hold();

  EXPECT_THAT(reasons(), ElementsAre("hold.held"));
  EXPECT_THAT(to_text(status()), HasSubstr("Hold                held\n"));
}

TEST_F(StatusTest, TellsWhatIsNotThere) {
  host_.services.filesystem->remove(boost::filesystem::path("/etc/apt/sources.list.d/zant-velmora.list"));
  *outlook_ = {};
  host_.system->on("apt-cache policy zant-velmora", 0, "");
  host_.system->on("systemctl is-active package-minder.service 2> /dev/null", 3, "inactive\n");
  host_.system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 3);
  host_.services.filesystem->remove_all(host_.state_directory());

  EXPECT_THAT(reasons(), ElementsAre("service.not_running", "package.not_installed",
                                     "repository.not_registered", "timer.not_running", "cycle.never_ran"));
}

TEST_F(StatusTest, TellsWhyTheLastCycleFailed) {
  record(history_, {{Cycle_Step::REPOSITORY, "no network"}, {Cycle_Step::UPGRADES, "no timer"}});

  EXPECT_THAT(reasons(), ElementsAre("cycle.failed", "cycle.failed"));
  EXPECT_EQ(json().at("last_cycle").at("failures"),
            json_document::Json({{{"kind", "repository"}, {"message", "no network"}},
                                 {{"kind", "automatic_upgrades"}, {"message", "no timer"}}}));
  EXPECT_THAT(to_text(status()), HasSubstr("    Failure: no network\n    Failure: no timer\n"));
}

TEST_F(StatusTest, TellsWhatSomebodyElseKeepsChanging) {
  history_.cycles = 20;
  history_.recent_repairs["hold"] = {18, 19, 20};
  history_.recent_repairs["/etc/apt/sources.list.d/zant-velmora.list"] = {11, 12, 13};
  history_.recent_repairs["/etc/apt/apt.conf.d/75lowerspeed"] = {19, 20};
  record(history_);

  EXPECT_THAT(reasons(), ElementsAre("conflict.file", "conflict.hold"));
  EXPECT_EQ(json().at("conflicts"),
            json_document::Json({"/etc/apt/sources.list.d/zant-velmora.list", "hold"}));
}

TEST_F(StatusTest, TakesADamagedRecordForNone) {
  host_.services.filesystem->write_file(cycle_store::file_in(host_.state_directory()), "{\"last_cycle\": 7}",
                                        0);

  EXPECT_THAT(reasons(), ElementsAre("cycle.never_ran"));
}

TEST_F(StatusTest, TellsOfAnInstallationThatMakesNoProgress) {
  const auto file = stalled_installation::file_in(host_.state_directory());
  host_.services.filesystem->write_file(host_.state_directory() / "package-minder-state", "", 0);
  stalled_installation::write(
      *host_.services.filesystem, file,
      Stalled_Installation{"apt-get install x", std::chrono::system_clock::from_time_t(1800000000)});

  const auto stalled = status();
  ASSERT_THAT(reasons(), ElementsAre("installation.stalled"));
  EXPECT_EQ(stalled.reasons[0].message,
            "An installation has made no progress since 2027-01-15T08:00:00Z, and no cycle goes on until it "
            "ends: apt-get install x");
}

TEST_F(StatusTest, ShowsTheKeysThatTheHostTrusts) {
  const auto long_ago = std::chrono::system_clock::from_time_t(1500000000);
  history_.keys = Key_History{{"gpg-pubkey-1 Distribution", "gpg-pubkey-2 Vendor"},
                              {{"gpg-pubkey-2 Vendor", long_ago, false}}};
  record(history_);

  EXPECT_THAT(to_text(status()), HasSubstr("Trusted keys        2\n"
                                           "    gpg-pubkey-1 Distribution\n"
                                           "    gpg-pubkey-2 Vendor, imported 2017-07-14T02:40:00Z\n"));
  EXPECT_EQ(json()["keys"]["trusted"][0], "gpg-pubkey-1 Distribution");
  EXPECT_EQ(json()["keys"]["imported"][0]["key"], "gpg-pubkey-2 Vendor");
  EXPECT_THAT(reasons(), IsEmpty());
}

TEST_F(StatusTest, NeedsAttentionWhenTheKeyAddressHasYieldedAnotherKey) {
  const auto now = std::chrono::system_clock::now();
  history_.keys = Key_History{{"foreign", "vendor"}, {{"vendor", now, true}, {"foreign", now, false}}};
  record(history_);

  EXPECT_THAT(reasons(), ElementsAre("keys.new"));
  EXPECT_THAT(status().reasons[0].message,
              ::testing::EndsWith("packages are checked with a new key, which the repository's key address "
                                  "yielded: foreign"));
}

}  // namespace
}  // namespace zant::velmora_host
