#include <zant/velmora/apt/apt_constants.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace zant::velmora;
using testing::ElementsAre;

namespace {

TEST(AptConstants, NameTheFilesAndTheTimer) {
  EXPECT_STREQ(APT_Constants::APT_UPGRADE_TIMER, "apt-daily-upgrade.timer");
  EXPECT_STREQ(APT_Constants::APT_REPO_KEYRING_FILE, "zant-velmora.gpg");
  EXPECT_STREQ(APT_Constants::APT_SOURCE_LIST_FILE, "zant-velmora.list");
  EXPECT_STREQ(APT_Constants::APT_AUTO_UPGRADES_FILE, "20auto-upgrades");
  EXPECT_STREQ(APT_Constants::APT_UNATTENDED_UPGRADES_FILE, "50unattended-upgrades");
  EXPECT_STREQ(APT_Constants::APT_LOWERSPEED_FILE, "75lowerspeed");
  EXPECT_THAT(APT_Constants::UNATTENDED_UPGRADE_SERVICE_FILENAMES,
              ElementsAre("20auto-upgrades", "50unattended-upgrades", "75lowerspeed"));
}

TEST(AptConstants, DescribeTheDefaultRepository) {
  EXPECT_STREQ(APT_Constants::DEFAULT_APT_REPO_HOST, "repo.velmora.example");
  EXPECT_EQ(APT_Constants::SECURE_DEFAULT_REPO_URL, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(APT_Constants::PLAIN_DEFAULT_REPO_URL, "http://repo.velmora.example/velmora-apt-repo/");
  EXPECT_STREQ(APT_Constants::DEFAULT_CHANNEL_FORMAT, "{}-production");
  EXPECT_STREQ(APT_Constants::DEFAULT_ORIGINS_PATTERN, "o=Quorvane Velmora Core VMS Repo");
  EXPECT_EQ(APT_Constants::DEFAULT_BANDWIDTH_LIMIT, 500);
}

TEST(AptConstants, NameThePathsOnTheHost) {
  EXPECT_STREQ(APT_Constants::APT_GLOBAL_CONFIG_DIR, "/etc/apt/apt.conf.d");
  EXPECT_EQ(APT_Constants::APT_CONFIG_BACKUP_DIR, "/etc/apt/apt.conf.d/.zant-backups");
  EXPECT_EQ(APT_Constants::REPO_KEYRING_PATH, "/etc/apt/trusted.gpg.d/zant-velmora.gpg");
  EXPECT_EQ(APT_Constants::SOURCE_LIST_PATH, "/etc/apt/sources.list.d/zant-velmora.list");
  EXPECT_EQ(APT_Constants::TIMER_OVERRIDE_DIR, "/etc/systemd/system/apt-daily-upgrade.timer.d");
  EXPECT_EQ(APT_Constants::TIMER_ON_CALENDAR_FILE, "apt-daily-upgrade.timer.on-calendar.conf");
  EXPECT_EQ(APT_Constants::TIMER_RANDOMIZED_DELAY_FILE, "apt-daily-upgrade.timer.randomized-delay.conf");
}

TEST(AptConstants, SpellTheCommandsOfThePackage) {
  EXPECT_EQ(APT_Constants::ARCHITECTURE_QUERY, "dpkg-query -f='${Architecture}' -W zant-velmora");
  EXPECT_STREQ(APT_Constants::REFRESH_REPOS, "apt-get -qq update");
  EXPECT_EQ(APT_Constants::REPO_POLICY_QUERY, "apt-cache policy zant-velmora");
  EXPECT_EQ(APT_Constants::HOLD_QUERY, "apt-mark showhold | grep -q ^zant-velmora$");
  EXPECT_EQ(APT_Constants::HOLD_PACKAGE, "apt-mark -qq hold zant-velmora");
  EXPECT_EQ(APT_Constants::UNHOLD_PACKAGE, "apt-mark -qq unhold zant-velmora");
}

TEST(AptConstants, SpellTheCommandsOfTheUpgradeService) {
  EXPECT_STREQ(APT_Constants::UNATTENDED_UPGRADES_PRESENCE, "which unattended-upgrades > /dev/null");
  EXPECT_STREQ(APT_Constants::INSTALL_UNATTENDED_UPGRADES,
               "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades");
  EXPECT_STREQ(APT_Constants::START_UNATTENDED_UPGRADES, "service unattended-upgrades start > /dev/null");
}

TEST(AptConstants, SpellTheCommandsOfTheTimer) {
  EXPECT_EQ(APT_Constants::START_TIMER, "systemctl start apt-daily-upgrade.timer");
  EXPECT_EQ(APT_Constants::TIMER_STATUS, "systemctl status apt-daily-upgrade.timer");
  EXPECT_EQ(APT_Constants::TIMER_NEEDS_RELOAD,
            "systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes");
  EXPECT_EQ(APT_Constants::RELOAD_TIMER,
            "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer");
}

}  // namespace
