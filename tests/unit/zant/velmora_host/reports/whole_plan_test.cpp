#include <zant/velmora_host/reports/plan.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

class WholePlan : public ::testing::Test {
 protected:
  Plan plan(Plan::Operation operation = Plan::Operation::CYCLE) {
    return make_plan(operation, debian_.settings(), debian_.services);
  }

  test_support::Debian_Host debian_;
};

TEST_F(WholePlan, OfANewHostPrintsWhatTheCycleWouldDo) {
  EXPECT_EQ(to_text(plan()),
            "The next cycle would change this host.\n"
            "\n"
            "Commands that change the host, in this order:\n"
            "  apt-get -qq update\n"
            "\n"
            "Commands run every cycle, with no effect now:\n"
            "  service unattended-upgrades start > /dev/null\n"
            "  systemctl start apt-daily-upgrade.timer\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/apt/apt.conf.d/20auto-upgrades\n"
            "@@ -0,0 +1,1 @@\n"
            "+APT::Periodic::Enable \"1\";\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/apt/apt.conf.d/50unattended-upgrades\n"
            "@@ -0,0 +1,1 @@\n"
            "+Unattended-Upgrade::Origins-Pattern {\"o=Quorvane Velmora Core VMS Repo\";};\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/apt/apt.conf.d/75lowerspeed\n"
            "@@ -0,0 +1,1 @@\n"
            "+Acquire::http::Dl-Limit \"500\";\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/apt/sources.list.d/zant-velmora.list\n"
            "@@ -0,0 +1,1 @@\n"
            "+deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/apt/trusted.gpg.d/zant-velmora.gpg\n"
            "@@ -0,0 +1,1 @@\n"
            "+the keys\n"
            "\\ No newline at end of file\n");
  EXPECT_EQ(to_json_text(plan()),
            "{\n"
            "  \"format\": \"package-minder/plan\",\n"
            "  \"version\": 1,\n"
            "  \"operation\": \"cycle\",\n"
            "  \"has_changes\": true,\n"
            "  \"failure\": null,\n"
            "  \"commands\": [\n"
            "    {\n"
            "      \"line\": \"apt-get -qq update\",\n"
            "      \"changes_host\": true\n"
            "    },\n"
            "    {\n"
            "      \"line\": \"service unattended-upgrades start > /dev/null\",\n"
            "      \"changes_host\": false\n"
            "    },\n"
            "    {\n"
            "      \"line\": \"systemctl start apt-daily-upgrade.timer\",\n"
            "      \"changes_host\": false\n"
            "    }\n"
            "  ],\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"path\": \"/etc/apt/apt.conf.d/20auto-upgrades\",\n"
            "      \"change\": \"create\",\n"
            "      \"diff\": \"--- /dev/null\\n"
            "+++ /etc/apt/apt.conf.d/20auto-upgrades\\n"
            "@@ -0,0 +1,1 @@\\n"
            "+APT::Periodic::Enable \\\"1\\\";\\n"
            "\"\n"
            "    },\n"
            "    {\n"
            "      \"path\": \"/etc/apt/apt.conf.d/50unattended-upgrades\",\n"
            "      \"change\": \"create\",\n"
            "      \"diff\": \"--- /dev/null\\n"
            "+++ /etc/apt/apt.conf.d/50unattended-upgrades\\n"
            "@@ -0,0 +1,1 @@\\n"
            "+Unattended-Upgrade::Origins-Pattern {\\\"o=Quorvane Velmora Core VMS Repo\\\";};\\n"
            "\"\n"
            "    },\n"
            "    {\n"
            "      \"path\": \"/etc/apt/apt.conf.d/75lowerspeed\",\n"
            "      \"change\": \"create\",\n"
            "      \"diff\": \"--- /dev/null\\n"
            "+++ /etc/apt/apt.conf.d/75lowerspeed\\n"
            "@@ -0,0 +1,1 @@\\n"
            "+Acquire::http::Dl-Limit \\\"500\\\";\\n"
            "\"\n"
            "    },\n"
            "    {\n"
            "      \"path\": \"/etc/apt/sources.list.d/zant-velmora.list\",\n"
            "      \"change\": \"create\",\n"
            "      \"diff\": \"--- /dev/null\\n"
            "+++ /etc/apt/sources.list.d/zant-velmora.list\\n"
            "@@ -0,0 +1,1 @@\\n"
            "+deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\\n"
            "\"\n"
            "    },\n"
            "    {\n"
            "      \"path\": \"/etc/apt/trusted.gpg.d/zant-velmora.gpg\",\n"
            "      \"change\": \"create\",\n"
            "      \"diff\": \"--- /dev/null\\n"
            "+++ /etc/apt/trusted.gpg.d/zant-velmora.gpg\\n"
            "@@ -0,0 +1,1 @@\\n"
            "+the keys\\n"
            "\\\\ No newline at end of file\\n"
            "\"\n"
            "    }\n"
            "  ],\n"
            "  \"displaced_settings\": [],\n"
            "  \"removes_own_files\": false\n"
            "}\n");
}

TEST_F(WholePlan, OfACycleThatFailsPrintsHowFarItCame) {
  debian_.set_up();
  debian_.write("/etc/apt/sources.list.d/zant-velmora.list", "deb http://elsewhere.test/ stable main\n");
  debian_.remove("/etc/apt/trusted.gpg.d");

  EXPECT_EQ(to_text(plan()),
            "The next cycle would fail.\n"
            "\n"
            "It would fail after that: Failed to install APT repository keyring for zant-velmora\n");
}

TEST_F(WholePlan, OfAPurgePrintsWhatItWouldUndo) {
  debian_.set_up();
  debian_.hold();
  debian_.write("/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades", "the host's own\n");
  debian_.services.filesystem->create_directories(debian_.state_directory());

  EXPECT_EQ(to_text(plan(Plan::Operation::PURGE)),
            "A purge would change this host.\n"
            "\n"
            "Commands that change the host, in this order:\n"
            "  apt-mark -qq unhold zant-velmora\n"
            "\n"
            "The program's own files in its state directory are removed.\n"
            "\n"
            "--- /etc/apt/apt.conf.d/.zant-backups/20auto-upgrades\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-the host\'s own\n"
            "\n"
            "--- /etc/apt/apt.conf.d/20auto-upgrades\n"
            "+++ /etc/apt/apt.conf.d/20auto-upgrades\n"
            "@@ -1,1 +1,1 @@\n"
            "-APT::Periodic::Enable \"1\";\n"
            "+the host's own\n"
            "\n"
            "--- /etc/apt/apt.conf.d/50unattended-upgrades\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-Unattended-Upgrade::Origins-Pattern {\"o=Quorvane Velmora Core VMS Repo\";};\n"
            "\n"
            "--- /etc/apt/apt.conf.d/75lowerspeed\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-Acquire::http::Dl-Limit \"500\";\n"
            "\n"
            "--- /etc/apt/sources.list.d/zant-velmora.list\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n"
            "\n"
            "--- /etc/apt/trusted.gpg.d/zant-velmora.gpg\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-the keys\n"
            "\\ No newline at end of file\n");
  EXPECT_EQ(to_text(plan(Plan::Operation::PURGE_UPGRADES)),
            "A purge would change this host.\n"
            "\n"
            "--- /etc/apt/apt.conf.d/.zant-backups/20auto-upgrades\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-the host\'s own\n"
            "\n"
            "--- /etc/apt/apt.conf.d/20auto-upgrades\n"
            "+++ /etc/apt/apt.conf.d/20auto-upgrades\n"
            "@@ -1,1 +1,1 @@\n"
            "-APT::Periodic::Enable \"1\";\n"
            "+the host's own\n"
            "\n"
            "--- /etc/apt/apt.conf.d/50unattended-upgrades\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-Unattended-Upgrade::Origins-Pattern {\"o=Quorvane Velmora Core VMS Repo\";};\n"
            "\n"
            "--- /etc/apt/apt.conf.d/75lowerspeed\n"
            "+++ /dev/null\n"
            "@@ -1,1 +0,0 @@\n"
            "-Acquire::http::Dl-Limit \"500\";\n");
}

TEST_F(WholePlan, OfAPurgeCountsThePrivateFilesAsAChange) {
  EXPECT_EQ(to_text(plan(Plan::Operation::PURGE)),
            "There is nothing to undo: a purge would change nothing.\n");

  debian_.services.filesystem->create_directories(debian_.state_directory());

  EXPECT_EQ(plan(Plan::Operation::PURGE).outcome(), Plan::Outcome::CHANGES);
  EXPECT_EQ(plan(Plan::Operation::PURGE_UPGRADES).outcome(), Plan::Outcome::IN_STEP);
}

TEST(WholePlanOfEl, OfANewHostPrintsWhatTheCycleWouldDo) {
  test_support::El_Host host;

  EXPECT_EQ(to_text(make_plan(Plan::Operation::CYCLE, host.settings(), host.services)),
            "The next cycle would change this host.\n"
            "\n"
            "Commands run every cycle, with no effect now:\n"
            "  rpm --import https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\n"
            "  systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
            "dnf-automatic-notifyonly.timer\n"
            "  systemctl start dnf-automatic-install.timer\n"
            "\n"
            "--- /dev/null\n"
            "+++ /etc/yum.repos.d/quorvane.repo\n"
            "@@ -0,0 +1,5 @@\n"
            "+[quorvane]\n"
            "+name=Velmora Recorder\n"
            "+baseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n"
            "+gpgkey=https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\n"
            "+throttle=500k\n");
}

}  // namespace
}  // namespace zant::velmora_host
