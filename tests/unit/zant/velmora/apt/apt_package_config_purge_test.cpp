#include "apt_package_config_fixture.hpp"

#include <stdexcept>

using namespace zant::velmora;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

class AptUpgradesPurge : public test_support::Apt_Package_Config_Test {
 protected:
  // The host had the second of the three files; all three have been installed over that.
  void install_service_files() {
    host.files->add_file("/etc/apt/apt.conf.d/20auto-upgrades", "Enable");
    host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "Origins");
    host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "Limit");
    host.files->add_file("/etc/apt/apt.conf.d/.zant-backups/50unattended-upgrades", "the distribution's own");
  }
};

class AptPurge : public AptUpgradesPurge {
 protected:
  void install_repository() {
    host.files->add_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "key");
    host.files->add_file("/etc/apt/sources.list.d/zant-velmora.list", "deb");
  }
};

TEST_F(AptUpgradesPurge, OnlyRestoresTheTimerWhenNoServiceFilesWereInstalled) {
  host.files->add_file("/etc/apt/apt.conf.d/50unattended-upgrades", "the distribution's own");

  make_config().purge_unattended_upgrade_configuration();

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /etc/apt/apt.conf.d/.zant-backups", "restore_timer"));
  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "the distribution's own");
}

TEST_F(AptUpgradesPurge, GivesTheHostItsFilesBackAndRemovesTheOthersThenRestoresTheTimer) {
  install_service_files();

  make_config().purge_unattended_upgrade_configuration();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("exists /etc/apt/apt.conf.d/.zant-backups",
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
                  "remove /etc/apt/apt.conf.d/75lowerspeed", "remove_all /etc/apt/apt.conf.d/.zant-backups",
                  "restore_timer"));
  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "the distribution's own");
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/20auto-upgrades"));
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/75lowerspeed"));
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/.zant-backups"));
}

TEST_F(AptUpgradesPurge, GoesOnWhenAFileCannotBeRestoredOrRemoved) {
  install_service_files();
  host.files->fail("remove /etc/apt/apt.conf.d/20auto-upgrades");
  host.files->fail_copies_of("/etc/apt/apt.conf.d/.zant-backups/50unattended-upgrades");

  EXPECT_NO_THROW(make_config().purge_unattended_upgrade_configuration());

  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/75lowerspeed"));
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/.zant-backups"));
  EXPECT_EQ(host.take_journal().back(), "restore_timer");
}

TEST_F(AptUpgradesPurge, WorksAlsoWhenAutomaticUpgradesAreOff) {
  install_service_files();

  make_config(false).purge_unattended_upgrade_configuration();

  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "the distribution's own");
  EXPECT_EQ(host.take_journal().back(), "restore_timer");
}

TEST_F(AptUpgradesPurge, IsContentWithATimerThatHadNothingToRestore) {
  timer_manager->restores = false;

  EXPECT_NO_THROW(make_config().purge_unattended_upgrade_configuration());
}

TEST_F(AptUpgradesPurge, LeavesTheTimerAloneWithoutATimerManager) {
  timer_manager = nullptr;
  install_service_files();

  EXPECT_NO_THROW(make_config().purge_unattended_upgrade_configuration());

  EXPECT_EQ(host.take_journal().back(), "remove_all /etc/apt/apt.conf.d/.zant-backups");
}

class Timer_Manager_That_Throws : public test_support::Fake_Upgrade_Timer_Manager {
 public:
  bool restore_timer() override { throw std::domain_error("no disk"); }
};

TEST_F(AptUpgradesPurge, PassesAnExceptionOfTheTimerManagerOn) {
  timer_manager = std::make_shared<Timer_Manager_That_Throws>();

  EXPECT_THROW(make_config().purge_unattended_upgrade_configuration(), std::domain_error);
}

TEST_F(AptUpgradesPurge, IsFollowedByFreshBackupsAtTheNextInstallation) {
  auto config = make_config();
  config.setup_unattended_upgrades_if_necessary();
  config.purge_unattended_upgrade_configuration();
  host.files->add_file("/etc/apt/apt.conf.d/75lowerspeed", "the administrator's own");

  config.setup_unattended_upgrades_if_necessary();

  EXPECT_EQ(installed("apt.conf.d/.zant-backups/75lowerspeed"), "the administrator's own");
}

TEST_F(AptUpgradesPurge, UndoesASetupToTheByte) {
  host.files->add_file("/etc/apt/apt.conf.d/20auto-upgrades", "the administrator's own\n");
  auto config = make_config();
  config.setup_unattended_upgrades_if_necessary();

  config.purge_unattended_upgrade_configuration();

  EXPECT_EQ(installed("apt.conf.d/20auto-upgrades"), "the administrator's own\n");
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/50unattended-upgrades"));
  EXPECT_FALSE(host.files->has("/etc/apt/apt.conf.d/75lowerspeed"));
}

TEST_F(AptUpgradesPurge, LetsAnExceptionOfAServiceThrough) {
  install_service_files();
  host.files->during("remove_all /etc/apt/apt.conf.d/.zant-backups",
                     [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(make_config().purge_unattended_upgrade_configuration(), std::domain_error);
}

TEST_F(AptPurge, RunsNoCommandWhenNothingIsInstalled) {
  make_config().purge_all_configurations();

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                                               "exists /etc/apt/sources.list.d/zant-velmora.list",
                                               "exists /etc/apt/apt.conf.d/.zant-backups", "restore_timer"));
}

TEST_F(AptPurge, RemovesTheKeyringThenTheSourceListWithAHoldThenTheUpgradesPart) {
  install_repository();

  make_config().purge_all_configurations();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("exists /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "log 3 APT_Package_Config: Removing zant-velmora repository keyring: "
                  "/etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "remove /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "exists /etc/apt/sources.list.d/zant-velmora.list",
                  "log 3 APT_Package_Config: Removing zant-velmora source list file: "
                  "/etc/apt/sources.list.d/zant-velmora.list",
                  "run apt-mark -qq unhold zant-velmora", "remove /etc/apt/sources.list.d/zant-velmora.list",
                  "exists /etc/apt/apt.conf.d/.zant-backups", "restore_timer"));
  EXPECT_FALSE(host.files->has("/etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_FALSE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(AptPurge, ReleasesNoHoldWhenOnlyTheKeyringIsInstalled) {
  host.files->add_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "key");

  make_config().purge_all_configurations();

  EXPECT_THAT(host.take_journal(), Not(Contains("run apt-mark -qq unhold zant-velmora")));
}

TEST_F(AptPurge, GoesOnWhenTheHoldCannotBeReleasedOrAFileNotRemoved) {
  install_repository();
  host.system->on(RELEASE, 100);
  host.files->fail("remove /etc/apt/trusted.gpg.d/zant-velmora.gpg");
  host.files->fail("remove /etc/apt/sources.list.d/zant-velmora.list");

  EXPECT_NO_THROW(make_config().purge_all_configurations());

  EXPECT_EQ(host.take_journal().back(), "restore_timer");
}

TEST_F(AptPurge, IncludesTheServiceFiles) {
  install_service_files();

  make_config().purge_all_configurations();

  EXPECT_EQ(installed("apt.conf.d/50unattended-upgrades"), "the distribution's own");
}

class Config_With_Own_Purge : public APT_Package_Config {
 public:
  using APT_Package_Config::APT_Package_Config;

  int purges = 0;

  void purge_unattended_upgrade_configuration() override { ++purges; }
};

TEST_F(AptPurge, HonoursTheUpgradesPurgeOfADerivedConfiguration) {
  install_repository();
  Config_With_Own_Purge config(host.files, host.system, "/staging", make_repo_config(),
                               make_upgrade_config());
  host.take_journal();

  config.purge_all_configurations();

  EXPECT_EQ(config.purges, 1);
  EXPECT_EQ(host.take_journal().back(), "remove /etc/apt/sources.list.d/zant-velmora.list");
}

}  // namespace
