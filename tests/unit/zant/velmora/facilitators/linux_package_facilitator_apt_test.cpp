#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <zant/velmora/apt/apt_package_config.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/throws_error.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* ARCHITECTURE_QUERY = "dpkg-query -f='${Architecture}' -W zant-velmora";
constexpr const char* READ_INIT = "read_file /proc/1/comm (1)";

/// A Debian host on which nothing is installed yet and every command succeeds, except that the timer has
/// nothing to reload.
class LinuxPackageFacilitatorOnAnAptHost : public testing::Test {
 protected:
  LinuxPackageFacilitatorOnAnAptHost() {
    const std::string templates = "/staging/config-files/apt/templates/";
    host.files->add_file("/etc/os-release", "ID=debian\n");
    host.files->add_file("/proc/1/comm", "systemd\n");
    host.files->add_file(templates + "zant-velmora.list.template", "{} {} {}");
    host.files->add_file(templates + "50unattended-upgrades.template", "{}");
    host.files->add_file(templates + "75lowerspeed.template", "{}");
    host.files->add_file(templates + "zant-on-calendar.conf.template", "OnCalendar={}");
    host.files->add_file(templates + "zant-randomized-delay.conf.template", "RandomizedDelaySec={}");
    host.files->add_file("/staging/config-files/apt/20auto-upgrades", "Enable");
    host.files->add_file("/staging/keyrings/zant-velmora.gpg", "key");
    host.files->add_directory("/etc/apt/trusted.gpg.d");
    host.files->add_directory("/etc/apt/sources.list.d");
    host.files->add_directory("/etc/apt/apt.conf.d");
    host.files->add_directory("/etc/systemd/system");
    host.system->on(ARCHITECTURE_QUERY, 0, "amd64");
    for (const char* command :
         {"apt-get -qq update", "apt-mark showhold | grep -q ^zant-velmora$",
          "apt-mark -qq unhold zant-velmora", "which unattended-upgrades > /dev/null",
          "service unattended-upgrades start > /dev/null", "systemctl start apt-daily-upgrade.timer",
          "systemctl status apt-daily-upgrade.timer",
          "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer"}) {
      host.system->on(command, 0);
    }
    host.system->on("systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes", 1);
  }

  Linux_Package_Facilitator make_facilitator() const {
    return {host.files, host.system, settings, "/staging"};
  }

  std::shared_ptr<Package_Config> make_config(bool automatic_upgrades = true) {
    const auto facilitator = make_facilitator();
    host.take_journal();
    return facilitator.create_package_config(automatic_upgrades);
  }

  std::optional<std::string> staged(const std::string& name) const {
    return host.files->contents("/staging/config-files/apt/" + name);
  }

  std::string rendered_list_with_init(const std::string& comm) {
    host.files->add_file("/proc/1/comm", comm);
    make_config();
    return staged("zant-velmora.list").value_or("");
  }

  Recorded_Host host;
  Recorded_Settings settings;
};

class AptAssembly : public LinuxPackageFacilitatorOnAnAptHost {};
class AptInitDetection : public LinuxPackageFacilitatorOnAnAptHost {};
class AptTimerSettings : public LinuxPackageFacilitatorOnAnAptHost {};

TEST_F(AptAssembly, BuildsAnAptConfigurationThatHasRenderedItsFiles) {
  const auto config = make_config();

  EXPECT_NE(std::dynamic_pointer_cast<APT_Package_Config>(config), nullptr);
  EXPECT_THAT(host.take_journal(),
              ElementsAre(READ_INIT, "run dpkg-query -f='${Architecture}' -W zant-velmora",
                          "list_files /staging/config-files/apt/templates .template",
                          "read_file /staging/config-files/apt/templates/zant-velmora.list.template (0)",
                          "write_file /staging/config-files/apt/zant-velmora.list (0)",
                          "read_file /staging/config-files/apt/templates/50unattended-upgrades.template (0)",
                          "write_file /staging/config-files/apt/50unattended-upgrades (0)",
                          "read_file /staging/config-files/apt/templates/75lowerspeed.template (0)",
                          "write_file /staging/config-files/apt/75lowerspeed (0)",
                          "remove [/staging/config-files/apt/zant-on-calendar.conf, "
                          "/staging/config-files/apt/zant-randomized-delay.conf]"));
}

TEST_F(AptAssembly, ReadsTheRepositorysThenTheTimersThenTheUpgradesSettings) {
  make_config();

  EXPECT_THAT(
      settings.keys(),
      ElementsAre("package.apt.repo.url", "package.apt.repo.channel", "package.apt.upgrade_timer.on_calendar",
                  "package.apt.upgrade_timer.randomized_delay", "package.apt.repo.origins_pattern",
                  "package.apt.repo.bandwidth_limit"));
}

TEST_F(AptAssembly, ReadsTheSettingsAfreshInEveryCall) {
  const auto facilitator = make_facilitator();
  facilitator.create_package_config(true);
  settings.set("package.apt.repo.url", "https://host/");

  facilitator.create_package_config(true);

  EXPECT_EQ(staged("zant-velmora.list"), "https://host/ systemd-production amd64");
}

TEST_F(AptAssembly, ExpandsReferencesBetweenSettings) {
  settings.set("site.mirror", "mirror.test");
  settings.set("package.apt.repo.url", "https://${site.mirror}/");
  settings.set("package.apt.upgrade_timer.on_calendar", "Mon ${site.hour}");
  settings.set("site.hour", "03:00");

  make_config();

  EXPECT_EQ(staged("zant-velmora.list"), "https://mirror.test/ systemd-production amd64");
  EXPECT_EQ(staged("zant-on-calendar.conf"), "OnCalendar=Mon 03:00");
}

TEST_F(AptAssembly, WithoutAutomaticUpgradesRendersOnlyTheSourceListAndSetsNothingUp) {
  const auto config = make_config(false);

  EXPECT_EQ(staged("zant-velmora.list"),
            "https://repo.velmora.example/velmora-apt-repo/ systemd-production amd64");
  EXPECT_EQ(staged("50unattended-upgrades"), std::nullopt);
  host.take_journal();

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptAssembly, BuildsIndependentConfigurationsEachWithItsOwnTimerManagerAndRunner) {
  const auto facilitator = make_facilitator();
  const auto file_owners = host.files.use_count();
  const auto system_owners = host.system.use_count();

  const auto first = facilitator.create_package_config(true);
  auto second = facilitator.create_package_config(true);

  EXPECT_NE(first, second);
  EXPECT_EQ(host.files.use_count(), file_owners + 2 * 2) << "a configuration and a timer manager each";
  EXPECT_EQ(host.system.use_count(), system_owners + 2 * 2) << "a configuration and a command runner each";

  second.reset();
  EXPECT_EQ(host.files.use_count(), file_owners + 2);
  EXPECT_EQ(host.system.use_count(), system_owners + 2);
}

TEST_F(AptAssembly, KeepsNothingOfAConfigurationThatIsReleased) {
  const auto facilitator = make_facilitator();
  const auto file_owners = host.files.use_count();
  const auto system_owners = host.system.use_count();

  facilitator.create_package_config(true).reset();

  EXPECT_EQ(host.files.use_count(), file_owners);
  EXPECT_EQ(host.system.use_count(), system_owners);
}

TEST_F(AptAssembly, LetsASettingOfTheWrongTypeThroughAndReleasesWhatWasBuilt) {
  settings.set("package.apt.repo.bandwidth_limit", "fast");
  const auto facilitator = make_facilitator();
  const auto file_owners = host.files.use_count();
  const auto system_owners = host.system.use_count();

  EXPECT_THROW(facilitator.create_package_config(true), Poco::SyntaxException);

  EXPECT_EQ(host.files.use_count(), file_owners);
  EXPECT_EQ(host.system.use_count(), system_owners);
}

TEST_F(AptAssembly, LetsASettingThatRefersToItselfThrough) {
  settings.set("package.apt.upgrade_timer.on_calendar", "${package.apt.upgrade_timer.on_calendar}");

  EXPECT_THROW(make_config(), Poco::CircularReferenceException);
}

TEST_F(AptAssembly, LetsAMissingTemplateThrough) {
  host.files->remove_all("/staging/config-files/apt/templates");

  EXPECT_THROW(make_config(), std::out_of_range);
}

TEST_F(AptInitDetection, TakesSystemdForSystemd) {
  EXPECT_EQ(rendered_list_with_init("systemd\n"),
            "https://repo.velmora.example/velmora-apt-repo/ systemd-production amd64");
}

TEST_F(AptInitDetection, TakesAnyOtherTextForAnotherInit) {
  for (const char* comm : {"init\n", "", "Systemd\n", "systemd-shim\n", " systemd\n", "systemd\n\n"}) {
    EXPECT_EQ(rendered_list_with_init(comm),
              "http://repo.velmora.example/velmora-apt-repo/ sysvinit-production amd64")
        << '"' << comm << '"';
  }
}

TEST_F(AptInitDetection, IsMadeOnceInEveryCallAndNotAtConstruction) {
  const auto facilitator = make_facilitator();
  EXPECT_THAT(host.take_journal(), Not(Contains(READ_INIT)));

  facilitator.create_package_config(true);
  facilitator.create_package_config(false);

  const auto journal = host.take_journal();
  EXPECT_EQ(std::count(journal.begin(), journal.end(), READ_INIT), 2);
}

TEST_F(AptInitDetection, LetsAnExceptionOfTheFileServiceThrough) {
  host.files->during(READ_INIT, [] { throw std::domain_error("no /proc"); });

  EXPECT_THROW(make_config(), std::domain_error);
}

TEST_F(AptTimerSettings, StageNothingWhenNeitherIsSet) {
  host.files->add_file("/staging/config-files/apt/zant-on-calendar.conf", "stale");
  host.files->add_file("/staging/config-files/apt/zant-randomized-delay.conf", "stale");

  make_config();

  EXPECT_EQ(staged("zant-on-calendar.conf"), std::nullopt);
  EXPECT_EQ(staged("zant-randomized-delay.conf"), std::nullopt);
}

TEST_F(AptTimerSettings, NameBothTargetsAndTheDirectoryAlsoWhenNeitherIsSet) {
  const auto config = make_config();
  host.take_journal();

  config->purge_unattended_upgrade_configuration();

  const std::string drop_ins = "/etc/systemd/system/apt-daily-upgrade.timer.d";
  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /etc/apt/apt.conf.d/.zant-backups",
                          "exists " + drop_ins + "/apt-daily-upgrade.timer.on-calendar.conf",
                          "exists " + drop_ins + "/apt-daily-upgrade.timer.randomized-delay.conf",
                          "exists " + drop_ins));
}

TEST_F(AptTimerSettings, AreInstalledAsDropInsOfTheUpgradeTimer) {
  settings.set("package.apt.upgrade_timer.on_calendar", "daily");
  settings.set("package.apt.upgrade_timer.randomized_delay", "1h");

  make_config()->setup_unattended_upgrades_if_necessary();

  const std::string drop_ins = "/etc/systemd/system/apt-daily-upgrade.timer.d";
  EXPECT_EQ(host.files->contents(drop_ins + "/apt-daily-upgrade.timer.on-calendar.conf"), "OnCalendar=daily");
  EXPECT_EQ(host.files->contents(drop_ins + "/apt-daily-upgrade.timer.randomized-delay.conf"),
            "RandomizedDelaySec=1h");
  EXPECT_EQ(host.system->commands().back(),
            "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer");
}

TEST_F(AptTimerSettings, AreTakenAsWritten) {
  settings.set("package.apt.upgrade_timer.on_calendar", "  no {} calendar ");
  settings.set("package.apt.upgrade_timer.randomized_delay", " ");

  make_config();

  EXPECT_EQ(staged("zant-on-calendar.conf"), "OnCalendar=  no {} calendar ");
  EXPECT_EQ(staged("zant-randomized-delay.conf"), "RandomizedDelaySec= ");
}

TEST_F(AptTimerSettings, OfTheOtherFamilyAreNotLookedAt) {
  settings.set("package.dnf.upgrade_timer.on_calendar", "daily");
  settings.set("package.dnf.upgrade_timer.randomized_delay", "1h");

  make_config();

  EXPECT_THAT(settings.keys(), Not(Contains(testing::StartsWith("package.dnf"))));
  EXPECT_EQ(staged("zant-on-calendar.conf"), std::nullopt);
}

TEST_F(AptAssembly, CarriesAnEmptyHostThroughAWholeCycle) {
  const auto facilitator = make_facilitator();
  Package_Minder minder(facilitator.create_package(facilitator.create_package_config(true)));

  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.system->commands(),
      ElementsAre("dpkg-query -f='${Architecture}' -W zant-velmora", "apt-get -qq update",
                  "apt-mark showhold | grep -q ^zant-velmora$", "apt-mark -qq unhold zant-velmora",
                  "which unattended-upgrades > /dev/null", "service unattended-upgrades start > /dev/null",
                  "systemctl start apt-daily-upgrade.timer"));
  EXPECT_TRUE(host.files->has("/etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_TRUE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
  EXPECT_TRUE(host.files->has("/etc/apt/apt.conf.d/75lowerspeed"));
}

TEST_F(AptAssembly, OnlyLooksAndStartsTheServiceInTheNextCycle) {
  settings.set("package.apt.upgrade_timer.on_calendar", "daily");
  const auto facilitator = make_facilitator();
  Package_Minder minder(facilitator.create_package(facilitator.create_package_config(true)));
  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();
  host.system->on("apt-mark showhold | grep -q ^zant-velmora$", 1);
  host.take_journal();

  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre(
          "files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
          "files_equal /staging/config-files/apt/zant-velmora.list /etc/apt/sources.list.d/zant-velmora.list",
          "run apt-mark showhold | grep -q ^zant-velmora$", "run which unattended-upgrades > /dev/null",
          "run service unattended-upgrades start > /dev/null",
          "files_equal /etc/apt/apt.conf.d/20auto-upgrades /staging/config-files/apt/20auto-upgrades",
          "files_equal /etc/apt/apt.conf.d/50unattended-upgrades "
          "/staging/config-files/apt/50unattended-upgrades",
          "files_equal /etc/apt/apt.conf.d/75lowerspeed /staging/config-files/apt/75lowerspeed",
          "exists /staging/config-files/apt/zant-on-calendar.conf",
          "exists /staging/config-files/apt/zant-randomized-delay.conf",
          "files_equal /staging/config-files/apt/zant-on-calendar.conf "
          "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf",
          "exists "
          "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.randomized-delay.conf",
          "run systemctl status apt-daily-upgrade.timer",
          "run systemctl show apt-daily-upgrade.timer | grep -q NeedDaemonReload=yes"));
}

TEST_F(AptAssembly, LeavesNothingOfACycleAfterAPurge) {
  settings.set("package.apt.upgrade_timer.randomized_delay", "1h");
  const auto expect_all_there = [this](bool there) {
    for (const char* path :
         {"/etc/apt/trusted.gpg.d/zant-velmora.gpg", "/etc/apt/sources.list.d/zant-velmora.list",
          "/etc/apt/apt.conf.d/20auto-upgrades", "/etc/apt/apt.conf.d/50unattended-upgrades",
          "/etc/apt/apt.conf.d/75lowerspeed", "/etc/apt/apt.conf.d/.zant-backups",
          "/etc/systemd/system/apt-daily-upgrade.timer.d"}) {
      EXPECT_EQ(host.files->has(path), there) << path;
    }
  };
  const auto config = make_config();
  config->setup_repo_if_necessary();
  config->setup_unattended_upgrades_if_necessary();
  expect_all_there(true);

  config->purge_all_configurations();

  expect_all_there(false);
}

}  // namespace
