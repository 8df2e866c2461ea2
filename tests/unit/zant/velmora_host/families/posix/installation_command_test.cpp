#include <zant/velmora_host/families/installation_command.hpp>

#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

class CommandThatChangesPackages : public ::testing::TestWithParam<const char*> {};

TEST_P(CommandThatChangesPackages, IsRecognised) {
  EXPECT_TRUE(changes_packages(GetParam())) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(
    , CommandThatChangesPackages,
    ::testing::Values(
        "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades",
        "dnf -yq install dnf-automatic", "yum -y install dnf-automatic", "dnf -y update", "yum upgrade",
        "apt-get dist-upgrade", "/usr/bin/apt-get -y remove zant-velmora", "apt full-upgrade",
        "dpkg -i package.deb", "dpkg --configure -a", "rpm -Uvh package.rpm", "rpm --erase zant-velmora",
        "bash -c 'dnf -yq install dnf-automatic'", "true && apt-get install x || false",
        "(apt-get install x)", "x=$(apt-get install x)", "apt-get -qq update; apt-get -qq install x",
        "apt-get install x | tee log", "unattended-upgrade -v", "/usr/bin/dnf-automatic --timer",
        "if true\nthen apt-get install x\nfi"));

class CommandThatChangesNoPackages : public ::testing::TestWithParam<const char*> {};

TEST_P(CommandThatChangesNoPackages, IsNotTakenForOneThatDoes) {
  EXPECT_FALSE(changes_packages(GetParam())) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(
    , CommandThatChangesNoPackages,
    ::testing::Values("", "dpkg-query -f='${Architecture}' -W zant-velmora", "apt-get -qq update",
                      "apt-cache policy zant-velmora", "apt-mark showhold | grep -q ^zant-velmora$",
                      "apt-mark -qq unhold zant-velmora", "which unattended-upgrades > /dev/null",
                      "service unattended-upgrades start > /dev/null",
                      "systemctl start apt-daily-upgrade.timer",
                      "systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes",
                      "rpm --import https://repo.velmora.example/key.gpg", "which dnf &> /dev/null",
                      "which dnf-automatic &> /dev/null",
                      "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora",
                      "bash -c '[[ 9 -ge 8 ]] && dnf config-manager --setopt=quorvane.exclude=* --save || "
                      "yum-config-manager "
                      "--setopt=quorvane.exclude=* --save'",
                      "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
                      "dnf-automatic-notifyonly.timer",
                      "apt-get update && echo install"));

}  // namespace
}  // namespace zant::velmora_host
