#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/staging/instance_lock.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/el_host.hpp>
#include <support/host_side/told_outlook.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

template <typename Host, typename Real_Family>
class Whole_Status : public ::testing::Test {
 protected:
  Whole_Status() {
    host_.set_up();
    host_.answer_status();
    host_.services.filesystem->create_directories(host_.state_directory());
    record({});
  }

  void record(const Cycle_State& state) {
    Cycle_State complete = state;
    complete.last_cycle.program = "run";
    complete.last_cycle.started = std::chrono::system_clock::from_time_t(1800000000);
    complete.last_cycle.seconds = 0.26;
    cycle_store::write(*host_.services.filesystem, cycle_store::file_in(host_.state_directory()), complete);
  }

  Status status(const std::string& service = PROGRAM_SERVICE) {
    return make_status(host_.settings(), host_.services, service, registry_);
  }

  std::vector<std::string> reasons() {
    std::vector<std::string> codes;
    for (const auto& reason : status().reasons) {
      codes.push_back(reason.code);
    }
    return codes;
  }

  Host host_;
  std::shared_ptr<Upgrade_Outlook> outlook_ = std::make_shared<Upgrade_Outlook>();
  const Family_Registry registry_ = test_support::registry_with_told<Real_Family>(outlook_);
};

class WholeStatusOfDebian : public Whole_Status<test_support::Debian_Host, APT_Family> {
 protected:
  WholeStatusOfDebian() { *outlook_ = test_support::outlook_of("1.0", "1.1"); }
};

class WholeStatusOfEl : public Whole_Status<test_support::El_Host, DNF_Family> {
 protected:
  WholeStatusOfEl() { *outlook_ = test_support::outlook_of("1.0-1", "1.1-1"); }
};

TEST_F(WholeStatusOfDebian, NeedsNoAttention) {
  EXPECT_THAT(reasons(), IsEmpty());
}

TEST_F(WholeStatusOfEl, NeedsNoAttention) {
  EXPECT_THAT(reasons(), IsEmpty());
}

TEST_F(WholeStatusOfEl, PrintsThePage) {
  EXPECT_EQ(to_text(status()),
            "Verdict             waiting: zant-velmora 1.0-1, 1.1-1 is offered and will be installed at an "
            "unknown time\n"
            "Host                package manager DNF, init systemd\n"
            "Service             active\n"
            "Package             zant-velmora 1.0-1 installed, 1.1-1 offered\n"
            "Repository          registered, in step\n"
            "Hold                not held\n"
            "Automatic upgrades  on, in step\n"
            "Timer               dnf-automatic-install.timer, next run 2026-11-21T06:00:00Z\n"
            "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.3 s, succeeded\n"
            "\n"
            "Nothing needs attention.\n");
}

TEST_F(WholeStatusOfEl, CannotTellAHoldWhenTheRepositoryListsNothing) {
  host_.hold();

  EXPECT_THAT(reasons(), ElementsAre("hold.unknown"));
}

TEST_F(WholeStatusOfEl, TellsAHoldFromTheRepositoryFile) {
  host_.hold();
  host_.write("/etc/yum.repos.d/quorvane.repo", host_.read("/etc/yum.repos.d/quorvane.repo") + "exclude=*\n");

  EXPECT_THAT(reasons(), ElementsAre("hold.held"));
}

TEST_F(WholeStatusOfDebian, TellsUpgradesThatAreSwitchedOff) {
  host_.set("minder.automatic_upgrades", "false");
  host_.system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 3);

  EXPECT_THAT(reasons(), ElementsAre("upgrades.off"));
  EXPECT_FALSE(status().upgrades_are_wanted);
}

TEST_F(WholeStatusOfDebian, TellsThatTheNextCycleWouldFail) {
  host_.remove("/etc/apt/trusted.gpg.d");

  EXPECT_THAT(reasons(), ElementsAre("repository.not_registered", "hold.unknown", "cycle.would_fail"));
}

TEST_F(WholeStatusOfDebian, TellsCommandsThatTheUpgradesNeed) {
  host_.system->on("which unattended-upgrades > /dev/null", 1);

  EXPECT_THAT(reasons(), ElementsAre("upgrades.out_of_step"));
}

TEST_F(WholeStatusOfDebian, OverlooksCommandsOfTheRepositoryAndTheHold) {
  host_.remove("/etc/apt/sources.list.d/zant-velmora.list");
  host_.hold();

  EXPECT_THAT(reasons(), ElementsAre("repository.not_registered", "hold.held"));
  EXPECT_THAT(status().upgrade_commands, IsEmpty());
}

TEST_F(WholeStatusOfDebian, NeedsBothFilesToBeRegistered) {
  host_.remove("/etc/apt/trusted.gpg.d/zant-velmora.gpg");

  EXPECT_THAT(reasons(), ElementsAre("repository.not_registered"));
}

TEST_F(WholeStatusOfDebian, WithoutSystemdAsksForNoUnits) {
  host_.write("/proc/1/comm", "init\n");
  host_.write("/etc/apt/sources.list.d/zant-velmora.list",
              "deb [arch=amd64] http://repo.velmora.example/velmora-apt-repo/ sysvinit-production main\n");
  host_.system->on("systemctl is-active package-minder.service 2> /dev/null", 3, "inactive\n");
  host_.system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 3);

  EXPECT_EQ(
      to_text(status()),
      "Verdict             waiting: zant-velmora 1.0, 1.1 is offered and will be installed at an unknown "
      "time\n"
      "Host                package manager APT, init other\n"
      "Service             unknown\n"
      "Package             zant-velmora 1.0 installed, 1.1 offered\n"
      "Repository          registered, in step\n"
      "Hold                not held\n"
      "Automatic upgrades  on, in step\n"
      "Timer               none: systemd does not start upgrades on this host\n"
      "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.3 s, succeeded\n"
      "\n"
      "Needs attention:\n"
      "  - This host has no systemd, so no service of package-minder's runs here: have cron run "
      "\"package-minder once\", for example every hour [service.no_systemd]\n");
}

TEST_F(WholeStatusOfDebian, WithoutSystemdSaysNothingOfAnotherProgramsServiceOrOfOneThatRuns) {
  host_.write("/proc/1/comm", "init\n");
  host_.write("/etc/apt/sources.list.d/zant-velmora.list",
              "deb [arch=amd64] http://repo.velmora.example/velmora-apt-repo/ sysvinit-production main\n");

  EXPECT_THAT(status("velmora-server").reasons, IsEmpty());

  const Instance_Lock lock(host_.state_directory() / "lock");
  EXPECT_THAT(reasons(), IsEmpty());
}

TEST_F(WholeStatusOfDebian, NamesATimerThatIsNotEnabled) {
  host_.system->on("systemctl is-enabled apt-daily-upgrade.timer 2> /dev/null", 1, "disabled\n");

  const auto seen = status();

  ASSERT_EQ(seen.reasons.size(), 1U);
  EXPECT_EQ(seen.reasons[0].code, "timer.not_enabled");
  EXPECT_EQ(
      seen.reasons[0].message,
      "apt-daily-upgrade.timer runs, but is not enabled: after a start of the host only a cycle starts it; "
      "run \"systemctl enable apt-daily-upgrade.timer\"");
  EXPECT_THAT(to_json_text(seen), HasSubstr("\"running\": true,\n    \"enabled\": false,\n"));
}

TEST_F(WholeStatusOfDebian, NamesWhatWeakensTheHost) {
  host_.system->on("apt-config dump", 0, "Acquire::AllowInsecureRepositories \"1\";\n");

  const auto seen = status();

  ASSERT_EQ(seen.reasons.size(), 1U);
  EXPECT_EQ(seen.reasons[0].code, "repository.unsigned_accepted");
  EXPECT_EQ(seen.reasons[0].message,
            "APT's configuration: Acquire::AllowInsecureRepositories is \"1\": repositories without a valid "
            "signature are accepted; remove it from /etc/apt/apt.conf and the files in /etc/apt/apt.conf.d");
}

TEST_F(WholeStatusOfDebian, TellsThatACycleNeedsThePackageFirst) {
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 1);
  host_.system->on("apt-cache policy zant-velmora", 0, "");
  *outlook_ = {};

  EXPECT_THAT(reasons(), ElementsAre("package.not_installed", "hold.unknown", "cycle.would_fail"));
}

TEST_F(WholeStatusOfEl, NamesWhatWeakensTheHostAndFailedUpgrades) {
  host_.write("/etc/yum.repos.d/quorvane.repo",
              host_.read("/etc/yum.repos.d/quorvane.repo") + "sslverify=0\n");
  host_.answer_about_upgrades(0, "Error: GPG check FAILED\n", "1700000000\n");

  const auto seen = status();

  ASSERT_THAT(reasons(), ElementsAre("repository.server_not_verified", "repository.not_refreshed",
                                     "repository.signature_refused"));
  EXPECT_EQ(seen.reasons[1].message,
            "quorvane: the repository was last refreshed 2023-11-14T22:13:20Z, more than 3 days ago: newer "
            "versions "
            "do not arrive; run \"dnf --refresh --repo quorvane makecache\" and see what it says");
  EXPECT_EQ(
      seen.reasons[2].message,
      "dnf-automatic-install.service: the last automatic upgrade was refused: a package's signature is "
      "missing or of a key that rpm does not have; see \"journalctl --unit=dnf-automatic-install.service\"; "
      "ask the vendor which key signs the packages");
}

TEST_F(WholeStatusOfEl, NamesUpgradesThatFailedForAnotherReason) {
  host_.answer_about_upgrades(0, "Error: no space\n", "");

  const auto seen = status();

  ASSERT_EQ(seen.reasons.size(), 1U);
  EXPECT_EQ(seen.reasons[0].code, "upgrades.last_run_failed");
  EXPECT_EQ(seen.reasons[0].message,
            "dnf-automatic-install.service: the last automatic upgrade failed; see \"journalctl "
            "--unit=dnf-automatic-install.service\"");
}

// Everything that can be wrong at once.
TEST_F(WholeStatusOfDebian, PrintsAllThatNeedsAttention) {
  *outlook_ = {};
  Cycle_State state;
  state.last_cycle.actions = {"Updating\nthe list"};
  state.last_cycle.problems = {"Something is odd"};
  state.last_cycle.failures = {{Cycle_Step::REPOSITORY, "no network"}, {Cycle_Step::HOLD, "still held"}};
  state.history.cycles = 3;
  state.history.last_success = std::chrono::system_clock::from_time_t(1799990000);
  state.history.recent_repairs = {{"hold", {1, 2, 3}}, {"/etc/apt/apt.conf.d/75lowerspeed", {1, 2, 3}}};
  record(state);
  host_.hold();
  host_.write("/etc/apt/sources.list.d/zant-velmora.list", "deb http://elsewhere.test/ stable main\n");
  host_.remove("/etc/apt/apt.conf.d/75lowerspeed");
  host_.write("/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf",
              "[Timer]\n");
  host_.system->on("apt-cache policy zant-velmora", 0,
                   "zant-velmora:\n  Installed: (none)\n  Candidate: (none)\n");
  host_.system->on("systemctl is-active package-minder.service 2> /dev/null", 3, "inactive\n");
  host_.system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 3);

  EXPECT_EQ(to_text(status()),
            "Verdict             cannot be told: the host's tools do not tell which version is installed\n"
            "Host                package manager APT, init systemd\n"
            "Service             inactive\n"
            "Package             zant-velmora not installed, unknown what is offered\n"
            "Repository          registered, out of step\n"
            "    /etc/apt/sources.list.d/zant-velmora.list differs\n"
            "Hold                held\n"
            "Automatic upgrades  on, out of step\n"
            "    /etc/apt/apt.conf.d/75lowerspeed is missing\n"
            "    /etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf "
            "should not exist\n"
            "    to be run: systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer\n"
            "Timer               apt-daily-upgrade.timer, is not running\n"
            "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.3 s, failed\n"
            "    Updating\\n"
            "the list\n"
            "    Problem: Something is odd\n"
            "    Failure: no network\n"
            "    Failure: still held\n"
            "\n"
            "Needs attention:\n"
            "  - The service package-minder is inactive: drift is not repaired [service.not_running]\n"
            "  - zant-velmora is not installed [package.not_installed]\n"
            "  - The repository's registration is out of step [repository.out_of_step]\n"
            "  - zant-velmora is held against upgrades [hold.held]\n"
            "  - The automatic upgrades are out of step [upgrades.out_of_step]\n"
            "  - apt-daily-upgrade.timer is not running [timer.not_running]\n"
            "  - The last cycle failed: no network [cycle.failed]\n"
            "  - The last cycle failed: still held [cycle.failed]\n"
            "  - /etc/apt/apt.conf.d/75lowerspeed is changed back after each repair: something else writes "
            "it [conflict.file]\n"
            "  - zant-velmora is held again after each release: something else on this host holds it "
            "[conflict.hold]\n");
  EXPECT_EQ(to_json_text(status()),
            "{\n"
            "  \"format\": \"package-minder/status\",\n"
            "  \"version\": 1,\n"
            "  \"verdict\": \"cannot_be_told\",\n"
            "  \"host\": {\n"
            "    \"package_manager\": \"APT\",\n"
            "    \"init\": \"systemd\"\n"
            "  },\n"
            "  \"service\": \"inactive\",\n"
            "  \"package\": {\n"
            "    \"name\": \"zant-velmora\",\n"
            "    \"installed\": null,\n"
            "    \"offered\": null\n"
            "  },\n"
            "  \"repository\": {\n"
            "    \"registered\": true,\n"
            "    \"out_of_step\": [\n"
            "      {\n"
            "        \"path\": \"/etc/apt/sources.list.d/zant-velmora.list\",\n"
            "        \"code\": \"differs\"\n"
            "      }\n"
            "    ]\n"
            "  },\n"
            "  \"keys\": null,\n"
            "  \"hold\": \"held\",\n"
            "  \"automatic_upgrades\": {\n"
            "    \"wanted\": true,\n"
            "    \"out_of_step\": [\n"
            "      {\n"
            "        \"path\": \"/etc/apt/apt.conf.d/75lowerspeed\",\n"
            "        \"code\": \"missing\"\n"
            "      },\n"
            "      {\n"
            "        \"path\": "
            "\"/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf\",\n"
            "        \"code\": \"not_wanted\"\n"
            "      }\n"
            "    ],\n"
            "    \"pending_commands\": [\n"
            "      \"systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer\"\n"
            "    ]\n"
            "  },\n"
            "  \"timer\": {\n"
            "    \"unit\": \"apt-daily-upgrade.timer\",\n"
            "    \"running\": false,\n"
            "    \"enabled\": true,\n"
            "    \"next_run\": \"2026-11-21T03:00:00Z\"\n"
            "  },\n"
            "  \"last_cycle\": {\n"
            "    \"started\": \"2027-01-15T08:00:00Z\",\n"
            "    \"seconds\": 0.26,\n"
            "    \"program\": \"run\",\n"
            "    \"succeeded\": false,\n"
            "    \"failures\": [\n"
            "      {\n"
            "        \"kind\": \"repository\",\n"
            "        \"message\": \"no network\"\n"
            "      },\n"
            "      {\n"
            "        \"kind\": \"hold\",\n"
            "        \"message\": \"still held\"\n"
            "      }\n"
            "    ],\n"
            "    \"actions\": [\n"
            "      \"Updating\\n"
            "the list\"\n"
            "    ],\n"
            "    \"problems\": [\n"
            "      \"Something is odd\"\n"
            "    ],\n"
            "    \"last_success\": \"2027-01-15T05:13:20Z\"\n"
            "  },\n"
            "  \"conflicts\": [\n"
            "    \"/etc/apt/apt.conf.d/75lowerspeed\",\n"
            "    \"hold\"\n"
            "  ],\n"
            "  \"reasons\": [\n"
            "    {\n"
            "      \"code\": \"service.not_running\",\n"
            "      \"message\": \"The service package-minder is inactive: drift is not repaired\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"package.not_installed\",\n"
            "      \"message\": \"zant-velmora is not installed\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"repository.out_of_step\",\n"
            "      \"message\": \"The repository's registration is out of step\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"hold.held\",\n"
            "      \"message\": \"zant-velmora is held against upgrades\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"upgrades.out_of_step\",\n"
            "      \"message\": \"The automatic upgrades are out of step\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"timer.not_running\",\n"
            "      \"message\": \"apt-daily-upgrade.timer is not running\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"cycle.failed\",\n"
            "      \"message\": \"The last cycle failed: no network\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"cycle.failed\",\n"
            "      \"message\": \"The last cycle failed: still held\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"conflict.file\",\n"
            "      \"message\": \"/etc/apt/apt.conf.d/75lowerspeed is changed back after each repair: "
            "something else writes it\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"conflict.hold\",\n"
            "      \"message\": \"zant-velmora is held again after each release: something else on this host "
            "holds it\"\n"
            "    }\n"
            "  ]\n"
            "}\n");
}

TEST_F(WholeStatusOfDebian, TellsAPackageThatIsUpToDateAndATimerWithoutANextRun) {
  *outlook_ = test_support::outlook_of("1.1", "1.1");
  host_.system->on(
      "TZ=UTC systemctl show --property=NextElapseUSecRealtime --value apt-daily-upgrade.timer "
      "2> /dev/null",
      0, "\n");

  EXPECT_EQ(to_text(status()),
            "Verdict             up to date: zant-velmora 1.1\n"
            "Host                package manager APT, init systemd\n"
            "Service             active\n"
            "Package             zant-velmora 1.1 installed, up to date\n"
            "Repository          registered, in step\n"
            "Hold                not held\n"
            "Automatic upgrades  on, in step\n"
            "Timer               apt-daily-upgrade.timer, no next run is set\n"
            "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.3 s, succeeded\n"
            "\n"
            "Nothing needs attention.\n");
}

// --- the verdict -----------------------------------------------------------------

class VerdictInStatus : public WholeStatusOfDebian {
 protected:
  void given_cause(const Cause& cause) { outlook_->causes.push_back(cause); }
  std::string text() { return to_text(status()); }

  Cause pin_ = {Cause_Effect::BLOCKS, "package.pinned", "A pin keeps zant-velmora at 1.0",
                "/etc/apt/preferences:1: Pin: version 1.0", "rm /etc/apt/preferences"};
  Cause broken_ = {Cause_Effect::OBSCURES, "tools.failed", "APT does not work", "apt-cache says: broken",
                   "See to APT"};
};

TEST_F(VerdictInStatus, IsTheFirstLineAndTheFirstReason) {
  given_cause(pin_);

  const auto lines = text();

  EXPECT_THAT(lines, StartsWith("Verdict             blocked: zant-velmora 1.0, 1.1 is offered: A pin keeps "
                                "zant-velmora at 1.0\n"));
  EXPECT_THAT(lines, EndsWith("Needs attention:\n"
                              "  - A pin keeps zant-velmora at 1.0: run \"rm /etc/apt/preferences\" "
                              "[package.pinned]\n"));
  EXPECT_THAT(to_json_text(status()), HasSubstr("\"verdict\": \"blocked\","));
}

TEST_F(VerdictInStatus, NamesNoCodeTwice) {
  host_.system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 3);
  given_cause({Cause_Effect::BLOCKS, "timer.not_running", "The timer is stopped", "", "systemctl start it"});
  given_cause(pin_);
  given_cause(pin_);
  outlook_->causes.back().evidence = "another file";

  EXPECT_THAT(reasons(), ElementsAre("timer.not_running", "package.pinned"));
  EXPECT_EQ(status().reasons[0].message, "The timer is stopped: run \"systemctl start it\"");
}

TEST_F(VerdictInStatus, SaysNothingOfVersionsThatAreNotKnown) {
  *outlook_ = {};
  given_cause(broken_);
  host_.system->on("apt-cache policy zant-velmora", 100, "");

  const auto seen = status();

  EXPECT_THAT(
      to_text(seen),
      HasSubstr("Package             zant-velmora unknown whether installed, unknown what is offered\n"));
  EXPECT_THAT(to_json_text(seen), HasSubstr("\"installed\": null,\n    \"offered\": null\n"));
  EXPECT_THAT(reasons(), ElementsAre("tools.failed"));
}

TEST_F(VerdictInStatus, DoesNotCallOldNewsTheNewest) {
  *outlook_ = test_support::outlook_of("1.0", "1.0");
  given_cause({Cause_Effect::OBSCURES, "repository.not_refreshed", "The lists are old", "", "Wait"});

  EXPECT_THAT(text(), HasSubstr("Package             zant-velmora 1.0 installed, unknown what is offered\n"));
}

TEST_F(VerdictInStatus, DoesNotCallABlockedPackageUpToDate) {
  *outlook_ = test_support::outlook_of("1.0", "1.0");
  given_cause(pin_);

  EXPECT_THAT(text(), HasSubstr("Package             zant-velmora 1.0 installed, 1.0 offered\n"));
}

TEST_F(VerdictInStatus, NeedsAttentionWhenItIsOverdue) {
  host_.services.filesystem->write_file(host_.state_directory() / "package-minder-state", "",
                                        velmora::Write_Flag::REPLACE);
  Verdict seen;
  seen.history.offered = {"1.1", std::chrono::system_clock::from_time_t(1600000000)};
  verdict_store::write(*host_.services.filesystem, verdict_store::file_in(host_.state_directory()), seen);

  EXPECT_THAT(reasons(), ElementsAre("upgrades.overdue"));
  EXPECT_THAT(text(), StartsWith("Verdict             overdue: zant-velmora 1.0, 1.1 has been offered since "
                                 "2020-09-13T12:26:40Z and nothing is known that stops it\n"));
}

TEST_F(WholeStatusOfDebian, TellsAPackageThatAptDoesNotKnow) {
  *outlook_ = {};
  host_.system->on("apt-cache policy zant-velmora", 100, "  Installed: 1.1\n");

  EXPECT_EQ(to_text(status()),
            "Verdict             cannot be told: the host's tools do not tell which version is installed\n"
            "Host                package manager APT, init systemd\n"
            "Service             active\n"
            "Package             zant-velmora not installed, unknown what is offered\n"
            "Repository          registered, in step\n"
            "Hold                not held\n"
            "Automatic upgrades  on, in step\n"
            "Timer               apt-daily-upgrade.timer, next run 2026-11-21T03:00:00Z\n"
            "Last cycle          2027-01-15T08:00:00Z by \"run\", 0.3 s, succeeded\n"
            "\n"
            "Needs attention:\n"
            "  - zant-velmora is not installed [package.not_installed]\n");
}

TEST_F(WholeStatusOfDebian, TakesNoPackageForMissingWhereAToolCannotWork) {
  *outlook_ = {};
  outlook_->causes = {{Cause_Effect::BLOCKS, "dpkg.status_broken", "APT cannot read dpkg's list of packages",
                       "E: Unable to parse", "cp /var/lib/dpkg/status-old /var/lib/dpkg/status"}};
  host_.system->on("apt-cache policy zant-velmora", 100, "E: Unable to parse\n");

  const auto seen = status();

  EXPECT_THAT(
      to_text(seen),
      HasSubstr("Package             zant-velmora unknown whether installed, unknown what is offered\n"));
  EXPECT_THAT(reasons(), ElementsAre("dpkg.status_broken"));
  EXPECT_THAT(to_json_text(seen), HasSubstr("\"installed\": null,"));
}

}  // namespace
}  // namespace zant::velmora_host
