#include <zant/velmora_host/families/apt/apt_family.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AptFamily : public ::testing::Test {
 protected:
  std::string failure(const std::string& line, Occasion occasion = Occasion::CYCLE, int exit_code = 100) {
    const auto failure = family_.failure_of({line, exit_code}, occasion, host_.services);
    return failure ? std::string(to_string(failure->step)) + ": " + failure->message : "";
  }

  const APT_Family family_;
  test_support::Debian_Host host_;
};

TEST_F(AptFamily, KnowsTheCommandLinesThatOnlyLook) {
  for (const char* line :
       {"dpkg-query -f='${Architecture}' -W zant-velmora", "apt-cache policy zant-velmora",
        "apt-mark showhold | grep -q ^zant-velmora$", "which unattended-upgrades > /dev/null",
        "systemctl status apt-daily-upgrade.timer",
        "systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes"}) {
    EXPECT_EQ(family_.traits_of(line).kind, Command_Kind::QUERY) << line;
  }
}

TEST_F(AptFamily, KnowsWhatTheOthersDo) {
  const auto kind = [this](const char* line) { return family_.traits_of(line).kind; };

  EXPECT_EQ(kind("apt-get -qq update"), Command_Kind::REFRESHES_REPOSITORIES);
  EXPECT_EQ(kind("apt-mark -qq hold zant-velmora"), Command_Kind::HOLDS_PACKAGE);
  EXPECT_EQ(kind("apt-mark -qq unhold zant-velmora"), Command_Kind::RELEASES_HOLD);
  EXPECT_EQ(kind("NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades"),
            Command_Kind::INSTALLS_PACKAGES);
  EXPECT_EQ(kind("service unattended-upgrades start > /dev/null"), Command_Kind::STARTS_SERVICE);
  EXPECT_EQ(kind("systemctl start apt-daily-upgrade.timer"), Command_Kind::STARTS_TIMER);
  EXPECT_EQ(kind("systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer"),
            Command_Kind::RELOADS_TIMER);
  EXPECT_EQ(kind("rm -r /"), Command_Kind::UNKNOWN);
  EXPECT_EQ(kind(""), Command_Kind::UNKNOWN);
}

TEST_F(AptFamily, KnowsWhenACommandLineThatIsRepeatedInEveryCycleChangesNothing) {
  EXPECT_EQ(family_.traits_of("systemctl start apt-daily-upgrade.timer").noop_check,
            "test ! -d /run/systemd/system || systemctl is-active --quiet apt-daily-upgrade.timer");
  EXPECT_EQ(family_.traits_of("service unattended-upgrades start > /dev/null").noop_check,
            "test ! -d /run/systemd/system || systemctl is-active --quiet unattended-upgrades.service");
  EXPECT_EQ(family_.traits_of("apt-mark -qq unhold zant-velmora").noop_check,
            "! apt-mark showhold | grep -q ^zant-velmora$");
  EXPECT_EQ(family_.traits_of("apt-get -qq update").noop_check, "");
}

TEST_F(AptFamily, TakesForAFailureWhatTheLibraryGoesOnAfter) {
  EXPECT_EQ(failure("apt-mark -qq unhold zant-velmora"),
            "hold: zant-velmora is still held: apt-mark failed with exit code 100");
  EXPECT_EQ(failure("systemctl start apt-daily-upgrade.timer"),
            "automatic_upgrades: apt-daily-upgrade.timer could not be started");
  EXPECT_EQ(failure("systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer"),
            "automatic_upgrades: apt-daily-upgrade.timer could not be reloaded");
}

TEST_F(AptFamily, TakesForNoFailureWhatTheLibraryJudgesItselfOrExpects) {
  EXPECT_EQ(failure("apt-get -qq update"), "");
  EXPECT_EQ(failure("apt-mark showhold | grep -q ^zant-velmora$"), "");
  EXPECT_EQ(failure("apt-mark -qq unhold zant-velmora", Occasion::CYCLE, 0), "");
  EXPECT_EQ(failure("apt-mark -qq unhold zant-velmora", Occasion::PURGE), "");
  host_.write("/proc/1/comm", "init\n");
  EXPECT_EQ(failure("systemctl start apt-daily-upgrade.timer"), "") << "there is no systemd";
}

TEST_F(AptFamily, TakesNoAnswerAboutTheHoldFromAptMarkAlone) {
  const std::string query = "apt-mark showhold | grep -q ^zant-velmora$";
  const char* const wanted = "dpkg-query --show --showformat='${db:Status-Want}' zant-velmora";
  EXPECT_EQ(failure(query, Occasion::CYCLE, 1), "");

  host_.system->on(wanted, 0, "hold");
  EXPECT_EQ(failure(query, Occasion::CYCLE, 1),
            "hold: zant-velmora may be held: apt-mark does not tell, and dpkg says \"hold\"");
  EXPECT_EQ(failure(query, Occasion::CYCLE, 0), "") << "the library releases it";

  host_.system->on(wanted, 2, "");
  EXPECT_EQ(failure(query, Occasion::CYCLE, 1),
            "hold: zant-velmora may be held: apt-mark does not tell, and dpkg says \"\"");

  host_.system->on(wanted, 1, "");
  EXPECT_EQ(failure(query, Occasion::CYCLE, 1), "") << "dpkg does not know the package";
}

TEST_F(AptFamily, KnowsWhatItsFilesAreFor) {
  EXPECT_EQ(family_.kind_of("/etc/apt/trusted.gpg.d/zant-velmora.gpg"), File_Kind::KEYRING);
  EXPECT_EQ(family_.kind_of("/etc/apt/sources.list.d/zant-velmora.list"), File_Kind::SOURCE_LIST);
  EXPECT_EQ(family_.kind_of("/etc/apt/preferences.d/zant-velmora.pref"), File_Kind::PREFERENCES);
  EXPECT_EQ(family_.kind_of("/etc/apt/apt.conf.d/20auto-upgrades"), File_Kind::UPGRADE_CONFIGURATION);
  EXPECT_EQ(family_.kind_of("/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades"), File_Kind::BACKUP);
  EXPECT_EQ(family_.kind_of(
                "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf"),
            File_Kind::TIMER);
  EXPECT_EQ(family_.kind_of("/etc/yum.repos.d/quorvane.repo"), File_Kind::OTHER);
}

TEST_F(AptFamily, KnowsWhatStaysUntilAPurge) {
  const auto installed = family_.installed_paths();

  EXPECT_THAT(installed.repository, ElementsAre("/etc/apt/trusted.gpg.d/zant-velmora.gpg",
                                                "/etc/apt/sources.list.d/zant-velmora.list",
                                                "/etc/apt/preferences.d/zant-velmora.pref"));
  EXPECT_THAT(
      installed.upgrades,
      ElementsAre(
          "/etc/apt/apt.conf.d/.zant-backups",
          "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf",
          "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.randomized-delay.conf"));
}

TEST_F(AptFamily, ReadsTheVersionsFromThePolicy) {
  host_.system->on("apt-cache policy zant-velmora", 0,
                   "zant-velmora:\n  Installed: (none)\n  Candidate: 1.1\n  Version table:\n");

  const auto versions = family_.find_versions(host_.services, host_.settings());

  EXPECT_EQ(versions.installed, "");
  EXPECT_EQ(versions.offered, "1.1");
}

TEST_F(AptFamily, FindsTheRepositoryRegisteredWhenListAndKeyringAreThere) {
  EXPECT_FALSE(family_.is_repository_registered(host_.services, host_.settings()));
  host_.set_up();
  EXPECT_TRUE(family_.is_repository_registered(host_.services, host_.settings()));
  host_.remove("/etc/apt/trusted.gpg.d/zant-velmora.gpg");
  EXPECT_FALSE(family_.is_repository_registered(host_.services, host_.settings()));
}

TEST_F(AptFamily, ChecksTheKeyringAndOtherSourceLists) {
  host_.pass_checks();
  host_.put_keyring("");
  host_.write("/etc/apt/sources.list.d/other.list",
              "deb https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n");
  Check_Report report;

  family_.check(host_.settings(), host_.services, velmora::Init::systemd, report);

  ASSERT_EQ(report.findings.size(), 2U);
  EXPECT_EQ(report.findings[0].code, "keyring.empty");
  EXPECT_EQ(report.findings[1].code, "repository.listed_twice");
  EXPECT_THAT(report.unchecked, IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
