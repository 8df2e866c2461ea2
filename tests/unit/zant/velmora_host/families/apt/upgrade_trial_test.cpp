#include <zant/velmora_host/families/apt/upgrade_trial.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Json = nlohmann::json;

constexpr const char* PROGRAM =
    "sh -c 'program=$(command -v unattended-upgrade) && test -x \"$program\" && echo \"$program\"'";

class UpgradeTrial : public Outlook_Example {
 protected:
  UpgradeTrial() {
    host.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
    answers(PROGRAM, 0, "/usr/bin/unattended-upgrade\n");
    answers("apt-mark showhold", 0);
    answers("apt-get -c * -s install *", 100, "E: Unable to correct problems\n");
  }

  Upgrade_Trial tried() {
    answers("/usr/bin/python3 -I -B *", 0, "a warning of Python's\n" + answer.dump() + "\n");
    return run();
  }

  Upgrade_Trial run() {
    const APT_Settings apt("", *host.services.filesystem);
    return try_upgrade(question, "/private/conf", apt, {"1.0", "amd64", {}}, units, "/private/archives");
  }

  std::vector<std::string> codes_when_not_upgraded() {
    answer["upgrade"]["upgrades"] = false;
    return codes(tried().causes);
  }

  Upgrade_Units units;
  Json answer = {
      {"stage", "done"},
      {"index", "/var/lib/apt/lists/x_main_binary-amd64_Packages"},
      {"newest", "2.0"},
      {"newer", true},
      {"judged", "2.0"},
      {"Size", "100"},
      {"Installed-Size", "7"},
      {"policy",
       {{"candidate", "2.0"},
        {"priority", 500},
        {"is_held", false},
        {"is_foreign", false},
        {"is_phased", false},
        {"not_automatic", false},
        {"pinned_by", Json::array()}}},
      {"days", {true, true, true, true, true, true, true, true, true}},
      {"stop", ""},
      {"on_shutdown", false},
      {"origins", {{"error", ""}, {"is_allowed", true}, {"allowed", {"o=A"}}, {"origins", {"o=A,a=b"}}}},
      {"lists",
       {{"error", ""},
        {"blacklisted_by", Json::array()},
        {"is_whitelisted", true},
        {"whitelist", Json::array()}}},
      {"upgrade", {{"broken", 0}, {"upgrades", true}, {"words", ""}, {"excluded", Json::object()}}}};
};

TEST_F(UpgradeTrial, FindsNothingWhereTheVersionIsInstalled) {
  const auto trial = tried();

  EXPECT_THAT(trial.causes, IsEmpty());
  EXPECT_EQ(trial.offered, "2.0");
  EXPECT_TRUE(trial.newer_is_offered);
  EXPECT_EQ(trial.room.download, 100U);
  EXPECT_EQ(trial.room.installed, 7168U);
}

TEST_F(UpgradeTrial, NamesWhatApTPrefers) {
  answer["policy"]["candidate"] = "1.0";
  answer["policy"]["pinned_by"] = {"/etc/apt/preferences.d/local"};
  host.write("/etc/apt/preferences.d/local", "Package: zant-velmora\nPin: version 1.*\nPin-Priority: 999\n");
  const auto causes = tried().causes;
  EXPECT_THAT(codes(causes), ElementsAre("blocks package.pinned"));
  EXPECT_EQ(causes[0].evidence,
            "/etc/apt/preferences.d/local:1: Package: zant-velmora; Pin: version 1.*; Pin-Priority: 999; its "
            "priority is 500");
  EXPECT_EQ(causes[0].remedy, "sed -i '1,3d' '/etc/apt/preferences.d/local'");

  answer["policy"]["pinned_by"] = Json::array();
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks package.not_preferred"));
  answer["policy"]["not_automatic"] = true;
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks repository.not_automatic"));
  answer["Phased-Update-Percentage"] = "10";
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks repository.not_automatic"));
  answer["policy"]["is_phased"] = true;
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks package.phased"));
}

TEST_F(UpgradeTrial, NamesHoldsExclusionsAndOrigins) {
  answer["policy"]["is_held"] = true;
  answer["lists"]["blacklisted_by"] = {"zant"};
  answer["lists"]["is_whitelisted"] = false;
  answer["origins"]["is_allowed"] = false;

  EXPECT_THAT(codes_when_not_upgraded(),
              ElementsAre("blocks hold.held", "blocks origin.not_allowed", "blocks package.blacklisted",
                          "blocks package.not_whitelisted"));
}

TEST_F(UpgradeTrial, BelievesUnattendedUpgradeThatInstalls) {
  answer["lists"]["is_whitelisted"] = false;  // a list that is not strict keeps no upgrade back

  EXPECT_THAT(tried().causes, IsEmpty());
}

TEST_F(UpgradeTrial, NamesWhatTheSolverSays) {
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks solver.unmet"));
  answer["upgrade"]["words"] = "sanity check failed: pkg x is marked to be deleted";
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks solver.removes"));
  answer["upgrade"]["words"] = "pkg x is not in an allowed origin";
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks dependency.origin_not_allowed"));
  answer["upgrade"]["words"] = "pkg x is not from a trusted origin";
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks repository.not_trusted"));
  answer["upgrade"]["words"] = "pkg %s requires app-restart";
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks package.needs_restart"));
  answer["upgrade"]["words"] = "";
  answer["upgrade"]["excluded"] = {{"package", "x"}, {"patterns", {"x"}}};
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks dependency.excluded"));
  answer["upgrade"]["excluded"] = Json::object();
  answers("apt-mark showhold", 0, "library\n");
  answers("apt-get -c * -s install *", 100, "zant-velmora : Depends: library (>= 2)\n");
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks dependency.held"));
  answer["upgrade"]["broken"] = 1;
  EXPECT_THAT(codes_when_not_upgraded(), ElementsAre("blocks dpkg.broken_dependencies"));
}

TEST_F(UpgradeTrial, NamesWhatStopsUnattendedUpgrade) {
  answer["stop"] = "System is on battery power, stopping";
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks power.on_battery"));
  answer["stop"] = "System is on metered connection, stopping";
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks network.metered"));
  answer["stop"] = "SIGNAL received, stopping";
  EXPECT_THAT(codes(tried().causes), ElementsAre("obscures tools.failed"));
  answer["stop"] = "";
  answer["on_shutdown"] = true;
  answer["conffile_prompt"] = "/var/cache/apt/archives/zant-velmora_2.0_amd64.deb";
  EXPECT_THAT(codes(tried().causes),
              ElementsAre("blocks upgrades.on_shutdown_only", "blocks package.conffile_prompt"));
}

TEST_F(UpgradeTrial, KnowsTheDaysThatAreAllowed) {
  units.next_run = question.now + std::chrono::hours(18);
  answer["days"] = {false, false, false, true, false, false, false, false, false};
  const auto trial = tried();
  EXPECT_THAT(codes(trial.causes), ElementsAre("blocks upgrades.not_today"));
  EXPECT_EQ(to_iso_time(*trial.next_run), "2026-11-25T06:00:00Z");

  answer["days"] = {false, false, false, false, false, false, false, false, false};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks upgrades.not_today"));
}

TEST_F(UpgradeTrial, NamesWhatUnattendedUpgradeEndsWith) {
  answer["crash"] = "error: nothing to repeat";
  answer.erase("upgrade");
  EXPECT_THAT(codes(tried().causes), ElementsAre("obscures tools.failed"));
  answer["lists"]["error"] = "Unattended-Upgrade::Package-Blacklist \"*\": error";
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks patterns.unreadable"));

  answer = {
      {"stage", "load"}, {"index", "/x"}, {"error", "ModuleNotFoundError: No module named 'distro_info'"}};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks upgrades.broken"));
  answer = {{"stage", "start"}, {"error", "ModuleNotFoundError: No module named 'apt'"}};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks upgrades.broken"));
}

TEST_F(UpgradeTrial, KnowsARepositoryThatAptDoesNotHave) {
  answer = {{"stage", "index"}};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks repository.not_registered"));
}

TEST_F(UpgradeTrial, TellsWhyAptHasNoListOfThePackages) {
  answer = {{"stage", "index"}, {"index", "/x"}, {"lack", {"architecture", "Architectures: riscv64"}}};
  const auto causes = tried().causes;
  ASSERT_THAT(codes(causes), ElementsAre("blocks repository.architecture_missing"));
  EXPECT_EQ(causes[0].evidence, "APT has no list /x; the repository says \"Architectures: riscv64\"");

  answer["lack"] = {"component", ""};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks repository.component_missing"));
  answer["lack"] = {"list", ""};
  EXPECT_THAT(codes(tried().causes), ElementsAre("obscures repository.not_refreshed"));
}

TEST_F(UpgradeTrial, TellsThatUnattendedUpgradesIsMissing) {
  answers(PROGRAM, 127);
  answer = {{"stage", "load"}, {"index", "/x"}, {"error", "FileNotFoundError"}};
  EXPECT_THAT(codes(tried().causes), ElementsAre("blocks upgrades.not_installed"));
}

TEST_F(UpgradeTrial, TellsThatUnattendedUpgradesCannotBeExecuted) {
  answers(PROGRAM, 1);
  answers("ls -l /usr/bin/unattended-upgrade", 0, "-rw-r--r-- 1 root root 5 /usr/bin/unattended-upgrade\n");
  answer = {{"stage", "index"}, {"index", "/x"}, {"error", "FileNotFoundError"}};
  const auto causes = tried().causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks upgrades.broken"));
  EXPECT_EQ(causes[0].remedy, "chmod 0755 /usr/bin/unattended-upgrade");
}

TEST_F(UpgradeTrial, CannotTellWhatAnotherProgramWouldDo) {
  answer = {{"stage", "foreign"}, {"index", "/x"}, {"error", "ValueError: its first line is \"#!/bin/sh\""}};
  EXPECT_THAT(codes(tried().causes), ElementsAre("obscures upgrades.replaced"));
}

TEST_F(UpgradeTrial, GuessesNothingFromOtherWords) {
  for (const char* const words : {"", "Segmentation fault\n", "[]\n", "{\"index\": 5}\n",
                                  "{\"index\": \"/x\", \"policy\": {}}\n", "\xff\n"}) {
    answers("/usr/bin/python3 -I -B *", 0, words);
    EXPECT_THAT(codes(run().causes), ElementsAre("obscures tools.failed")) << words;
  }
  answers("/usr/bin/python3 -I -B *", 139, "");
  EXPECT_THAT(codes(run().causes), ElementsAre("obscures tools.failed"));
}

TEST_F(UpgradeTrial, GuessesNothingFromAnAnswerThatLacksSomething) {
  for (const Json& days : {Json::array(), Json{true}, Json{true, 1}, Json(1)}) {
    answer["days"] = days;
    EXPECT_THAT(codes(tried().causes), ElementsAre("obscures tools.failed")) << days;
  }
  for (const Json& lack : {Json::array(), Json{"list"}, Json{"list", 1}, Json(1)}) {
    answer["lack"] = lack;
    EXPECT_THAT(codes(tried().causes), ElementsAre("obscures tools.failed")) << lack;
  }
}

TEST_F(UpgradeTrial, FindsNoQuestionInWhatIsNoFile) {
  for (const char* const words : {"{\"conffile_prompt\": 1}\n", "{\"conffile_prompt\": null}\n", "{}\n"}) {
    answers("/usr/bin/python3 -I -B *", 0, words);
    EXPECT_THAT(find_conffile_prompt(question, "/private/conf", "2.0", "/private/archives"), IsEmpty())
        << words;
  }
}

TEST_F(UpgradeTrial, LetsNoRepositoryWriteAptsConfiguration) {
  answer["origins"]["is_allowed"] = false;
  answer["origins"]["allowed"] = {"o=Quorvane Velmora Core VMS Repo"};
  answer["origins"]["origins"] = {"o=x\";}; APT::Get::AllowUnauthenticated \"true,a=b"};
  answer["upgrade"]["upgrades"] = false;
  const auto causes = tried().causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks origin.not_allowed"));
  EXPECT_EQ(causes[0].remedy,
            "Allow the repository's origin in Unattended-Upgrade::Origins-Pattern of APT's configuration");
}

TEST_F(UpgradeTrial, TellsThatNoAnswerCame) {
  answers("/usr/bin/python3 -I -B *", 124, "");
  EXPECT_THAT(codes(run().causes), ElementsAre("obscures tools.time_limit"));
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
