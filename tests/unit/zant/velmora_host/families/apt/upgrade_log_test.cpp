#include <zant/velmora_host/families/apt/upgrade_log.hpp>

#include "outlook_example.hpp"

#include <zant/velmora_host/services/command_service.hpp>

#include <gmock/gmock.h>

#include <fstream>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::create_directories;
using boost::filesystem::create_symlink;
using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UpgradeLog : public Outlook_Example {
 protected:
  APT_Settings settings_of(const std::string& dump) const {
    return APT_Settings(dump, *host.services.filesystem);
  }

  Causes found(const std::string& dump = "") { return find_unusable_log(question, settings_of(dump)); }
};

TEST_F(UpgradeLog, IsWhereTheSettingsHaveIt) {
  const auto usual = upgrade_log_of(settings_of(""));
  EXPECT_EQ(usual.directory, "/var/log/unattended-upgrades");
  EXPECT_EQ(usual.file, "/var/log/unattended-upgrades/unattended-upgrades.log");
  EXPECT_EQ(usual.dpkg_file, "/var/log/unattended-upgrades/unattended-upgrades-dpkg.log");

  const auto elsewhere = upgrade_log_of(settings_of(
      "Unattended-Upgrade::LogDir \"/srv/log/\";\nUnattended-Upgrade::LogFile \"upgrades.log\";\n"));
  EXPECT_EQ(elsewhere.directory, "/srv/log");
  EXPECT_EQ(elsewhere.file, "/srv/log/upgrades.log");
  EXPECT_EQ(elsewhere.dpkg_file, "/srv/log/unattended-upgrades-dpkg.log");

  const auto apart = upgrade_log_of(settings_of("Unattended-Upgrade::LogFile \"/srv/upgrades.log\";\n"));
  EXPECT_EQ(apart.file, "/srv/upgrades.log");
  EXPECT_EQ(apart.dpkg_file, "/var/log/unattended-upgrades/unattended-upgrades-dpkg.log");
}

TEST_F(UpgradeLog, IsSetByItsOlderNamesToo) {
  EXPECT_EQ(upgrade_log_of(settings_of("APT::UnattendedUpgrades::LogDir \"/srv/old\";\n")).directory,
            "/srv/old");
  EXPECT_EQ(upgrade_log_of(settings_of("APT::UnattendedUpgrades::LogDir \"/srv/old\";\n"
                                       "Unattended-Upgrade::LogDir \"/srv/new\";\n"))
                .directory,
            "/srv/new");
}

TEST_F(UpgradeLog, CanBeUsedOnAHealthyHost) {
  answers("sh -c *", 0);
  EXPECT_THAT(found(), IsEmpty());
  answers("sh -c *", 127, "sh: not found\n");
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(UpgradeLog, CannotBeUsedWithAFileInThePlaceOfItsDirectory) {
  answers("sh -c *", 1, "/var/log/unattended-upgrades\n");
  answers("ls -ld '/var/log/unattended-upgrades'", 0,
          "-rw-r--r-- 1 root root 0 /var/log/unattended-upgrades\n");
  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("blocks upgrades.broken"));
  EXPECT_EQ(
      causes[0].message,
      "unattended-upgrade cannot open its log because of /var/log/unattended-upgrades, and ends at once");
  EXPECT_EQ(causes[0].evidence,
            "ls -ld '/var/log/unattended-upgrades': -rw-r--r-- 1 root root 0 /var/log/unattended-upgrades");
  EXPECT_EQ(causes[0].remedy, "mv '/var/log/unattended-upgrades' '/var/log/unattended-upgrades'.old");
}

TEST_F(UpgradeLog, CannotBeUsedWhereASettingPutsIt) {
  host.write("/etc/apt/apt.conf.d/99local", "Unattended-Upgrade::LogDir \"/dev/null\";\n");
  answers("sh -c *", 1, "/dev/null\n");
  const auto causes = found("Unattended-Upgrade::LogDir \"/dev/null\";\n");
  ASSERT_THAT(codes(causes), ElementsAre("blocks upgrades.broken"));
  EXPECT_EQ(causes[0].evidence, "/etc/apt/apt.conf.d/99local:1: Unattended-Upgrade::LogDir \"/dev/null\";");
  EXPECT_EQ(causes[0].remedy, "sed -i '1s|^|//|' '/etc/apt/apt.conf.d/99local'");
}

// The question itself, asked of a real shell.
class UpgradeLogOnDisk : public UpgradeLog {
 protected:
  // What stands in the way, relative to the root; empty when nothing does.
  std::string obstacle(const std::string& log_file = "unattended-upgrades.log") {
    found("Unattended-Upgrade::LogDir \"" + (root / "log/here").string() +
          "\";\nUnattended-Upgrade::LogFile \"" + log_file + "\";\n");
    const auto answer =
        command_service.run_command(host.system->commands().back(), velmora::Run_Flag::WAIT_AND_CAPTURE);
    EXPECT_EQ(answer.exit_code, answer.output.empty() ? 0 : 1) << answer.output;
    return answer.output.empty() ? "" : path(answer.output).lexically_relative(root).string();
  }

  void make_file(const path& file) const { std::ofstream((root / file).string()) << "text"; }

  path root = directory.path() / "root";
  Command_Service command_service{Command_Service::Options{}};
};

TEST_F(UpgradeLogOnDisk, MayBeMissingWithItsDirectory) {
  EXPECT_EQ(obstacle(), "");
  create_directories(root / "log/here");
  EXPECT_EQ(obstacle(), "");
  make_file("log/here/unattended-upgrades.log");
  EXPECT_EQ(obstacle(), "");
}

TEST_F(UpgradeLogOnDisk, NeedsADirectory) {
  create_directories(root);
  make_file("log");
  EXPECT_EQ(obstacle(), "log\n");
}

TEST_F(UpgradeLogOnDisk, CannotBeMadeBehindALinkToNowhere) {
  create_directories(root / "log");
  create_symlink("nowhere", root / "log/here");
  EXPECT_EQ(obstacle(), "log/here\n");
}

TEST_F(UpgradeLogOnDisk, NeedsItsFiles) {
  create_directories(root / "log/here/unattended-upgrades.log");
  EXPECT_EQ(obstacle(), "log/here/unattended-upgrades.log\n");
  EXPECT_EQ(obstacle("other.log"), "");
  create_directories(root / "log/here/unattended-upgrades-dpkg.log");
  EXPECT_EQ(obstacle("other.log"), "log/here/unattended-upgrades-dpkg.log\n");
}

TEST_F(UpgradeLogOnDisk, NeedsTheDirectoryOfAFileOfItsOwn) {
  create_directories(root);
  EXPECT_EQ(obstacle((root / "own/upgrades.log").string()), "own\n");
  create_directories(root / "own");
  EXPECT_EQ(obstacle((root / "own/upgrades.log").string()), "");
  create_directories(root / "own/upgrades.log");
  EXPECT_EQ(obstacle((root / "own/upgrades.log").string()), "own/upgrades.log\n");
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
