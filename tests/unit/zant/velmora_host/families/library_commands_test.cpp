#include <zant/velmora_host/families/library_commands.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host::library_commands {
namespace {

TEST(LibraryCommands, KnowsTheLinesThatOnlyLook) {
  for (const char* line :
       {"dpkg-query -f='${Architecture}' -W zant-velmora", "apt-cache policy zant-velmora",
        "apt-mark showhold | grep -q ^zant-velmora$", "which unattended-upgrades > /dev/null",
        "systemctl status apt-daily-upgrade.timer",
        "systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes", "which dnf &> /dev/null",
        "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora", "which dnf-automatic &> /dev/null",
        "systemctl status dnf-automatic-install.timer",
        "systemctl show dnf-automatic-install.timer | grep -q NeedDaemonReload=yes",
        "\"C:\\x y\\choco.exe\" pin list", "\"C:\\x y\\choco.exe\" source list",
        "\"C:\\x y\\choco.exe\" list -e zant-velmora",
        "schtasks.exe /QUERY /TN \"UpgradeVelmoraRecorderVMS\""}) {
    EXPECT_TRUE(is_query(line)) << line;
  }
}

TEST(LibraryCommands, TakesEverythingElseForAChange) {
  for (const char* line :
       {"apt-get -qq update", "apt-mark -qq unhold zant-velmora", "rpm --import https://x/key",
        "service unattended-upgrades start > /dev/null", "which unattended-upgrades",
        "\"C:\\x y\\choco.exe\" pin remove -n zant-velmora", "\"C:\\x y\\choco.exe\" cache remove",
        "schtasks.exe /DELETE /F /TN \"UpgradeVelmoraRecorderVMS\"", ""}) {
    EXPECT_FALSE(is_query(line)) << line;
  }
}

TEST(LibraryCommands, KnowsWhenALineThatIsRepeatedInEveryCycleIsNeedless) {
  EXPECT_EQ(noop_check("systemctl start apt-daily-upgrade.timer"),
            "test ! -d /run/systemd/system || systemctl is-active --quiet apt-daily-upgrade.timer");
  EXPECT_EQ(noop_check("service unattended-upgrades start > /dev/null"),
            "test ! -d /run/systemd/system || systemctl is-active --quiet unattended-upgrades.service");
  EXPECT_EQ(noop_check("rpm --import https://repo.velmora.test/key"), "rpm --quiet --query gpg-pubkey");
}

TEST(LibraryCommands, NeverTakesAnInstallationForNeedless) {
  EXPECT_EQ(noop_check("dnf -yq install dnf-automatic"), "");
  EXPECT_EQ(noop_check("apt-get -qq update"), "");
}

TEST(LibraryCommands, KnowsTheReleaseOfAHold) {
  EXPECT_TRUE(releases_hold("apt-mark -qq unhold zant-velmora"));
  EXPECT_FALSE(releases_hold("apt-mark -qq hold zant-velmora"));
}

}  // namespace
}  // namespace zant::velmora_host::library_commands
