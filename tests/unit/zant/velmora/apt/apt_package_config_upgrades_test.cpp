#include "apt_package_config_fixture.hpp"

#include <stdexcept>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class AptUpgradesSetup : public test_support::Apt_Package_Config_Test {
 protected:
  void install_service_files() {
    host.files->add_file("/etc/apt/apt.conf.d/20auto-upgrades", "Enable");
    host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "Origins \"o=Vendor\";");
    host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "Limit 250");
  }
};

class AptUpgradeService : public AptUpgradesSetup {
 protected:
  AptUpgradeService() { install_service_files(); }
};

class AptUpgradeFiles : public AptUpgradesSetup {
 protected:
  void expect_installation_failed() {
    auto config = make_config();
    expect_host_step_failed([&config] { config.setup_unattended_upgrades_if_necessary(); },
                            "Failed to install configuration files for the unattended-upgrades service");
  }
};

TEST_F(AptUpgradesSetup, DoesNothingWhenAutomaticUpgradesAreOff) {
  make_config(false).setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptUpgradesSetup, SetsUpTheServiceThenItsFilesThenTheTimer) {
  host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "the distribution's own");

  make_config().setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre(
          "run which unattended-upgrades > /dev/null", "run service unattended-upgrades start > /dev/null",
          "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
          "log 3 APT_Package_Config: Installing configuration files for the unattended-upgrades "
          "service",
          "exists /etc/apt/apt.conf.d/.zant-backups", "create_directories /etc/apt/apt.conf.d/.zant-backups",
          "copy_files [/etc/apt/apt.conf.d/20auto-upgrades, "
          "/etc/apt/apt.conf.d/50unattended-upgrades, /etc/apt/apt.conf.d/75lowerspeed] -> "
          "/etc/apt/apt.conf.d/.zant-backups (2)",
          "copy_files [/staging/config-files/apt/20auto-upgrades, "
          "/staging/config-files/apt/50unattended-upgrades, "
          "/staging/config-files/apt/75lowerspeed] -> /etc/apt/apt.conf.d (2)",
          "initialize_timer"));
  EXPECT_EQ(installed("apt.conf.d/20auto-upgrades"), "Enable");
  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "Origins \"o=Vendor\";");
  EXPECT_EQ(installed("apt.conf.d/75lowerspeed"), "Limit 250");
  EXPECT_EQ(installed("apt.conf.d/.zant-backups/50unattended-upgrades"), "the distribution's own");
}

TEST_F(AptUpgradesSetup, LeavesTheTimerAloneWithoutATimerManager) {
  timer_manager = nullptr;

  EXPECT_NO_THROW(make_config().setup_unattended_upgrades_if_necessary());

  EXPECT_THAT(host.take_journal(), Not(Contains("initialize_timer")));
}

class Timer_Manager_That_Fails : public test_support::Fake_Upgrade_Timer_Manager {
 public:
  void initialize_timer() override { throw_host_step_failed("Failed to start upgrade timer"); }
};

TEST_F(AptUpgradesSetup, PassesAFailureOfTheTimerOn) {
  timer_manager = std::make_shared<Timer_Manager_That_Fails>();

  expect_host_step_failed([this] { make_config().setup_unattended_upgrades_if_necessary(); },
                          "Failed to start upgrade timer");
}

TEST_F(AptUpgradeService, IsInstalledWhenItIsMissing) {
  host.system->on(PRESENCE, 1);

  make_config().setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("run which unattended-upgrades > /dev/null",
                  "log 3 APT_Package_Config: Installing the unattended-upgrades package",
                  "run NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install "
                  "unattended-upgrades",
                  "run service unattended-upgrades start > /dev/null",
                  "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
                  "files_equal /etc/apt/apt.conf.d/50unattended-upgrades "
                  "/staging/config-files/apt/50unattended-upgrades",
                  "files_equal /etc/apt/apt.conf.d/75lowerspeed /staging/config-files/apt/75lowerspeed",
                  "initialize_timer"));
}

TEST_F(AptUpgradeService, EndsTheSetupWhenItCannotBeInstalled) {
  host.system->on(PRESENCE, 1);
  host.system->on(INSTALL, 100);
  auto config = make_config();

  expect_host_step_failed([&config] { config.setup_unattended_upgrades_if_necessary(); },
                          "Failed to install the unattended-upgrades package");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run which unattended-upgrades > /dev/null",
                          "log 3 APT_Package_Config: Installing the unattended-upgrades package",
                          "run NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install "
                          "unattended-upgrades"));
}

TEST_F(AptUpgradeService, EndsTheSetupWhenItCannotBeStarted) {
  host.system->on(START, 1);
  auto config = make_config();

  expect_host_step_failed([&config] { config.setup_unattended_upgrades_if_necessary(); },
                          "Failed to start the unattended-upgrades service");

  EXPECT_THAT(host.take_journal(), ElementsAre("run which unattended-upgrades > /dev/null",
                                               "run service unattended-upgrades start > /dev/null"));
}

TEST_F(AptUpgradeFiles, AreComparedInOrderUpToTheFirstThatDiffers) {
  install_service_files();
  host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "edited");

  make_config().setup_unattended_upgrades_if_necessary();

  const auto journal = host.take_journal();
  EXPECT_EQ(journal[2],
            "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades");
  EXPECT_EQ(journal[3],
            "files_equal /etc/apt/apt.conf.d/50unattended-upgrades "
            "/staging/config-files/apt/50unattended-upgrades");
  EXPECT_EQ(journal[4],
            "log 3 APT_Package_Config: Installing configuration files for the unattended-upgrades service");
  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "Origins \"o=Vendor\";");
}

TEST_F(AptUpgradeFiles, AreInstalledWhenOnlyTheLastDiffers) {
  install_service_files();
  host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "edited");

  make_config().setup_unattended_upgrades_if_necessary();

  EXPECT_EQ(installed("apt.conf.d/75lowerspeed"), "Limit 250");
}

TEST_F(AptUpgradeFiles, AreNotBackedUpAgainOnceThereAreBackups) {
  install_service_files();
  host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "edited");
  host.files->add_file("/etc/apt/apt.conf.d/.zant-backups/75lowerspeed", "the host's own");

  make_config().setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("run which unattended-upgrades > /dev/null",
                  "run service unattended-upgrades start > /dev/null",
                  "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
                  "files_equal /etc/apt/apt.conf.d/50unattended-upgrades "
                  "/staging/config-files/apt/50unattended-upgrades",
                  "files_equal /etc/apt/apt.conf.d/75lowerspeed /staging/config-files/apt/75lowerspeed",
                  "log 3 APT_Package_Config: Installing configuration files for the unattended-upgrades "
                  "service",
                  "exists /etc/apt/apt.conf.d/.zant-backups",
                  "copy_files [/staging/config-files/apt/20auto-upgrades, "
                  "/staging/config-files/apt/50unattended-upgrades, "
                  "/staging/config-files/apt/75lowerspeed] -> /etc/apt/apt.conf.d (2)",
                  "initialize_timer"));
  EXPECT_EQ(installed("apt.conf.d/.zant-backups/75lowerspeed"), "the host's own");
}

TEST_F(AptUpgradeFiles, AreNotTouchedWhenTheBackupDirectoryCannotBeMade) {
  host.files->fail("create_directories /etc/apt/apt.conf.d/.zant-backups");
  auto config = make_config();

  expect_host_step_failed([&config] { config.setup_unattended_upgrades_if_necessary(); },
                          "Failed to create backup configuration directory for the unattended-upgrades "
                          "service");

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("run which unattended-upgrades > /dev/null",
                  "run service unattended-upgrades start > /dev/null",
                  "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
                  "log 3 APT_Package_Config: Installing configuration files for the unattended-upgrades "
                  "service",
                  "exists /etc/apt/apt.conf.d/.zant-backups",
                  "create_directories /etc/apt/apt.conf.d/.zant-backups"));
}

TEST_F(AptUpgradeFiles, AreInstalledAlsoWhenNoneCouldBeBackedUp) {
  host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "the host's own");
  host.files->fail_copies_of("/etc/apt/apt.conf.d/75lowerspeed");

  EXPECT_NO_THROW(make_config().setup_unattended_upgrades_if_necessary());

  EXPECT_EQ(installed("apt.conf.d/75lowerspeed"), "Limit 250");
}

TEST_F(AptUpgradeFiles, AreNotRolledBackWhenNoneCouldBeCopied) {
  host.files->fail_copies_of("/staging/config-files/apt/20auto-upgrades");
  host.files->fail_copies_of("/staging/config-files/apt/50unattended-upgrades");
  host.files->fail_copies_of("/staging/config-files/apt/75lowerspeed");

  expect_installation_failed();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre(
          "run which unattended-upgrades > /dev/null", "run service unattended-upgrades start > /dev/null",
          "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
          "log 3 APT_Package_Config: Installing configuration files for the unattended-upgrades "
          "service",
          "exists /etc/apt/apt.conf.d/.zant-backups", "create_directories /etc/apt/apt.conf.d/.zant-backups",
          "copy_files [/etc/apt/apt.conf.d/20auto-upgrades, "
          "/etc/apt/apt.conf.d/50unattended-upgrades, /etc/apt/apt.conf.d/75lowerspeed] -> "
          "/etc/apt/apt.conf.d/.zant-backups (2)",
          "copy_files [/staging/config-files/apt/20auto-upgrades, "
          "/staging/config-files/apt/50unattended-upgrades, "
          "/staging/config-files/apt/75lowerspeed] -> /etc/apt/apt.conf.d (2)"));
  EXPECT_TRUE(host.files->has("/etc/apt/apt.conf.d/.zant-backups"));
}

TEST_F(AptUpgradeFiles, AreRolledBackWhenOnlySomeCouldBeCopied) {
  host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "the distribution's own");
  host.files->fail_copies_of("/staging/config-files/apt/20auto-upgrades");

  expect_installation_failed();

  const auto journal = host.take_journal();
  const std::vector<std::string> after_the_copy(journal.begin() + 8, journal.end());
  EXPECT_THAT(
      after_the_copy,
      ElementsAre("log 5 APT_Package_Config: Copied 2/3 files needed to configure unattended-upgrades, "
                  "restoring backups",
                  "exists /etc/apt/apt.conf.d/.zant-backups",
                  "log 3 APT_Package_Config: Restoring configuration files for the unattended-upgrades "
                  "service",
                  "exists /etc/apt/apt.conf.d/.zant-backups/20auto-upgrades",
                  "log 3 APT_Package_Config: No backup file exists for /etc/apt/apt.conf.d/20auto-upgrades, "
                  "unable to restore it",
                  "remove /etc/apt/apt.conf.d/20auto-upgrades",
                  "exists /etc/apt/apt.conf.d/.zant-backups/50unattended-upgrades",
                  "log 3 APT_Package_Config: Restoring file /etc/apt/apt.conf.d/50unattended-upgrades",
                  "copy_file /etc/apt/apt.conf.d/.zant-backups/50unattended-upgrades -> "
                  "/etc/apt/apt.conf.d/50unattended-upgrades (2)",
                  "exists /etc/apt/apt.conf.d/.zant-backups/75lowerspeed",
                  "log 3 APT_Package_Config: No backup file exists for /etc/apt/apt.conf.d/75lowerspeed, "
                  "unable to restore it",
                  "remove /etc/apt/apt.conf.d/75lowerspeed", "remove_all /etc/apt/apt.conf.d/.zant-backups"));
  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "the distribution's own");
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/75lowerspeed"));
}

TEST_F(AptUpgradeFiles, AreRolledBackWhenOnlyOneCouldBeCopied) {
  host.files->fail_copies_of("/staging/config-files/apt/50unattended-upgrades");
  host.files->fail_copies_of("/staging/config-files/apt/75lowerspeed");

  expect_installation_failed();

  EXPECT_THAT(host.log.messages(5), ElementsAre("Copied 1/3 files needed to configure "
                                                "unattended-upgrades, restoring backups"));
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/20auto-upgrades"));
}

TEST_F(AptUpgradeFiles, AreTriedAndRolledBackInEveryCycleWhileTheReadyMadeOneIsMissing) {
  host.files->remove(Filesystem::Path("/staging/config-files/apt/20auto-upgrades"));

  expect_installation_failed();
  expect_installation_failed();

  EXPECT_THAT(host.log.messages(5),
              ElementsAre("Copied 2/3 files needed to configure unattended-upgrades, restoring backups",
                          "Copied 2/3 files needed to configure unattended-upgrades, restoring backups"));
}

TEST_F(AptUpgradeFiles, AreInPlaceWhenThereAreNone) {
  auto upgrade_config = make_upgrade_config();
  upgrade_config.service.backup_files.clear();
  upgrade_config.service.source_files.clear();
  upgrade_config.service.target_files.clear();

  make_config(make_repo_config(), upgrade_config).setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run which unattended-upgrades > /dev/null",
                          "run service unattended-upgrades start > /dev/null", "initialize_timer"));
}

TEST_F(AptUpgradeFiles, AreCountedAsTheRecordListsThem) {
  auto upgrade_config = make_upgrade_config();
  upgrade_config.service.source_files.pop_back();
  upgrade_config.service.target_files.pop_back();
  host.files->fail_copies_of("/staging/config-files/apt/50unattended-upgrades");
  auto config = make_config(make_repo_config(), upgrade_config);

  EXPECT_THROW(config.setup_unattended_upgrades_if_necessary(), Internal_Error<std::runtime_error>);

  EXPECT_THAT(host.log.messages(5), ElementsAre("Copied 1/2 files needed to configure "
                                                "unattended-upgrades, restoring backups"));
}

TEST_F(AptUpgradeFiles, KeepTheTimerFromBeingTouchedWhenTheyFail) {
  host.files->fail_copies_of("/staging/config-files/apt/20auto-upgrades");

  expect_installation_failed();

  EXPECT_THAT(host.take_journal(), Not(Contains("initialize_timer")));
}

TEST_F(AptUpgradesSetup, LetsAnExceptionOfAServiceThrough) {
  host.files->during("exists /etc/apt/apt.conf.d/.zant-backups", [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(make_config().setup_unattended_upgrades_if_necessary(), std::domain_error);
}

}  // namespace
