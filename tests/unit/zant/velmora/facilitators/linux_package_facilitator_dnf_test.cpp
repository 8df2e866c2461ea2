#include <zant/velmora/dnf/dnf_package.hpp>
#include <zant/velmora/dnf/dnf_package_config.hpp>
#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/stub_package_config.hpp>
#include <support/throws_error.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string EL_RELEASE =
    "NAME=\"Enterprise Linux\"\n"
    "ID=\"el\"\n"
    "ID_LIKE=\"rhel centos fedora\"\n"
    "VERSION_ID=\"9.4\"\n";
const std::string DROP_IN_DIR = "/etc/systemd/system/dnf-automatic-install.timer.d";
const std::string DISABLE_OTHERS =
    "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer dnf-automatic-notifyonly.timer";

class LinuxPackageFacilitatorOnADnfHost : public testing::Test {
 protected:
  LinuxPackageFacilitatorOnADnfHost() {
    host.files->add_file("/etc/os-release", EL_RELEASE);
    host.files->add_file("/proc/1/comm", "systemd\n");
    host.files->add_directory("/etc/yum.repos.d");
    host.files->add_file("/staging/config-files/dnf/templates/quorvane.repo.template",
                         "[{}]\nname={}\nbaseurl={}\ngpgkey={}\nthrottle={}\n");
    host.files->add_file("/staging/config-files/dnf/templates/zant-on-calendar.conf.template", "calendar {}");
    host.files->add_file("/staging/config-files/dnf/templates/zant-randomized-delay.conf.template",
                         "delay {}");
    host.system->on("which dnf &> /dev/null", 0);
    host.system->on("which dnf-automatic &> /dev/null", 0);
    host.system->on(DISABLE_OTHERS, 0);
    host.system->on("systemctl daemon-reload && systemctl restart dnf-automatic-install.timer", 0);
    host.system->on("systemctl start dnf-automatic-install.timer", 0);
  }

  Linux_Package_Facilitator make_facilitator() { return {host.files, host.system, settings, "/staging"}; }

  // A family shows in what may be built for it.
  bool takes_the_host_for_dnf() {
    return std::dynamic_pointer_cast<DNF_Package_Config>(make_facilitator().create_package_config(true)) !=
           nullptr;
  }

  Recorded_Host host;
  Recorded_Settings settings;
};

// --- Detection ------------------------------------------------------------------------------------------

TEST_F(LinuxPackageFacilitatorOnADnfHost, ReadsOneFileAndRunsNothingAtConstruction) {
  const auto facilitator = make_facilitator();

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /etc/os-release (0)"));
  EXPECT_THAT(settings.keys(), IsEmpty());
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RecognisesARelativeOfRhelByItsIdLikeLine) {
  EXPECT_TRUE(takes_the_host_for_dnf());
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RecognisesRhelInAnyCaseAndLine) {
  host.files->add_file("/etc/os-release", "BUG_REPORT_URL=https://example/reports-of-RHEL-9");

  EXPECT_TRUE(takes_the_host_for_dnf());
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, TakesAHostThatNamesDebianTooForApts) {
  host.files->add_file("/etc/os-release", "ID_LIKE=\"rhel debian\"\n");
  const auto facilitator = make_facilitator();

  expect_throws<Backend_Error<std::runtime_error>>(
      [&] { facilitator.create_package(std::make_shared<Stub_Package_Config>(Package_Config_Type::DNF)); },
      "Invalid package configuration", 204800);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, DoesNotRecogniseFedoraAlone) {
  host.files->add_file("/etc/os-release", "ID=fedora\nVERSION_ID=40\n");

  EXPECT_EQ(make_facilitator().create_package_config(true), nullptr);
  EXPECT_EQ(make_facilitator().create_package_config(false), nullptr);
}

// --- The package configuration --------------------------------------------------------------------------

TEST_F(LinuxPackageFacilitatorOnADnfHost, BuildsADnfPackageConfiguration) {
  const auto config = make_facilitator().create_package_config(true);

  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->type(), Package_Config_Type::DNF);
  EXPECT_NE(std::dynamic_pointer_cast<DNF_Package_Config>(config), nullptr);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost,
       RendersTheRepositoryFileAndClearsTheDropInsAwayWhenNoScheduleIsSet) {
  const auto facilitator = make_facilitator();
  host.take_journal();

  facilitator.create_package_config(true);

  EXPECT_THAT(host.take_journal(),
              ElementsAre("list_files /staging/config-files/dnf/templates .template",
                          "read_file /staging/config-files/dnf/templates/quorvane.repo.template (0)",
                          "write_file /staging/config-files/dnf/quorvane.repo (0)",
                          "remove [/staging/config-files/dnf/zant-on-calendar.conf, "
                          "/staging/config-files/dnf/zant-randomized-delay.conf]"));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, NamesBothTargetsAndTheDirectoryAlsoWhenNoScheduleIsSet) {
  const auto config = make_facilitator().create_package_config(true);
  host.take_journal();

  config->purge_unattended_upgrade_configuration();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists " + DROP_IN_DIR + "/dnf-automatic-install.timer.on-calendar.conf",
                          "exists " + DROP_IN_DIR + "/dnf-automatic-install.timer.randomized-delay.conf",
                          "exists " + DROP_IN_DIR));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, ReadsTheSettingsOfTheRepositoryThenThoseOfTheTimer) {
  make_facilitator().create_package_config(true);

  EXPECT_THAT(
      settings.keys(),
      ElementsAre("package.dnf.repo.gpg_key", "package.dnf.repo.baseurl", "package.dnf.repo.url",
                  "package.dnf.repo.channel", "package.dnf.repo.throttle",
                  "package.dnf.upgrade_timer.on_calendar", "package.dnf.upgrade_timer.randomized_delay"));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, NeverLooksAtTheInitSystem) {
  const auto facilitator = make_facilitator();
  host.take_journal();

  facilitator.create_package_config(true);

  EXPECT_THAT(host.take_journal(), Not(Contains(StartsWith("read_file /proc/1/comm"))));
  EXPECT_THAT(host.system->commands(), IsEmpty());
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RendersTheFilesThatTheSettingsAskFor) {
  settings.set("package.dnf.repo.channel", "beta");
  settings.set("package.dnf.upgrade_timer.on_calendar", " Sun 03:00");
  settings.set("package.dnf.upgrade_timer.randomized_delay", "not a time span");

  make_facilitator().create_package_config(true);

  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/quorvane.repo"),
            "[quorvane]\nname=Velmora Recorder\n"
            "baseurl=https://repo.velmora.example/velmora-yum-repo/repos/beta/\n"
            "gpgkey=https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\nthrottle=500k\n");
  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-on-calendar.conf"), "calendar  Sun 03:00");
  EXPECT_EQ(host.files->contents("/staging/config-files/dnf/zant-randomized-delay.conf"),
            "delay not a time span");
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, InstallsTheDropInsBesideTheTimerOfDnfAutomatic) {
  settings.set("package.dnf.upgrade_timer.on_calendar", "Sun 03:00");
  settings.set("package.dnf.upgrade_timer.randomized_delay", "15m");
  const auto config = make_facilitator().create_package_config(true);

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_EQ(host.files->contents(DROP_IN_DIR + "/dnf-automatic-install.timer.on-calendar.conf"),
            "calendar Sun 03:00");
  EXPECT_EQ(host.files->contents(DROP_IN_DIR + "/dnf-automatic-install.timer.randomized-delay.conf"),
            "delay 15m");
  EXPECT_THAT(host.system->commands(),
              ElementsAre("which dnf-automatic &> /dev/null", DISABLE_OTHERS,
                          "systemctl daemon-reload && systemctl restart dnf-automatic-install.timer"));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, OnlyStartsTheTimerWhenNoScheduleIsSet) {
  const auto config = make_facilitator().create_package_config(true);

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_FALSE(host.files->has(DROP_IN_DIR));
  EXPECT_THAT(host.system->commands(), ElementsAre("which dnf-automatic &> /dev/null", DISABLE_OTHERS,
                                                   "systemctl start dnf-automatic-install.timer"));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RemovesItsDropInsWithTheirDirectoryOnPurge) {
  settings.set("package.dnf.upgrade_timer.randomized_delay", "15m");
  const auto config = make_facilitator().create_package_config(true);
  config->setup_unattended_upgrades_if_necessary();

  config->purge_unattended_upgrade_configuration();

  EXPECT_FALSE(host.files->has(DROP_IN_DIR));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, HandsOnThatAutomaticUpgradesAreOff) {
  settings.set("package.dnf.upgrade_timer.on_calendar", "Sun 03:00");

  const auto config = make_facilitator().create_package_config(false);
  config->setup_unattended_upgrades_if_necessary();

  EXPECT_FALSE(host.files->has("/staging/config-files/dnf/zant-on-calendar.conf"));
  EXPECT_THAT(host.system->commands(), IsEmpty());
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, BuildsAnIndependentConfigurationInEveryCall) {
  const auto facilitator = make_facilitator();
  const auto first = facilitator.create_package_config(true);
  settings.set("package.dnf.upgrade_timer.randomized_delay", "15m");

  const auto second = facilitator.create_package_config(true);

  EXPECT_NE(first, second);
  first->purge_unattended_upgrade_configuration();
  second->setup_unattended_upgrades_if_necessary();
  EXPECT_TRUE(host.files->has(DROP_IN_DIR + "/dnf-automatic-install.timer.randomized-delay.conf"));
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, GivesEachConfigurationATimerManagerAndRunnerOfItsOwn) {
  const auto facilitator = make_facilitator();
  const auto file_owners = host.files.use_count();
  const auto system_owners = host.system.use_count();

  const auto first = facilitator.create_package_config(true);
  auto second = facilitator.create_package_config(true);

  EXPECT_EQ(host.files.use_count(), file_owners + 2 * 2) << "a configuration and a timer manager each";
  EXPECT_EQ(host.system.use_count(), system_owners + 2 * 2) << "a configuration and a command runner each";

  second.reset();
  EXPECT_EQ(host.files.use_count(), file_owners + 2);
  EXPECT_EQ(host.system.use_count(), system_owners + 2);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, LetsTheExceptionOfTheSettingsThroughAndReleasesWhatWasBuilt) {
  settings.set("package.dnf.upgrade_timer.on_calendar", "${package.dnf.upgrade_timer.on_calendar}");
  const auto facilitator = make_facilitator();
  const auto file_owners = host.files.use_count();
  const auto system_owners = host.system.use_count();

  EXPECT_THROW(facilitator.create_package_config(true), Poco::CircularReferenceException);

  EXPECT_EQ(host.files.use_count(), file_owners);
  EXPECT_EQ(host.system.use_count(), system_owners);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, LetsTheExceptionOfAMissingTemplateThrough) {
  host.files->remove_all("/staging");

  EXPECT_THROW(make_facilitator().create_package_config(true), std::out_of_range);
}

// --- The package ----------------------------------------------------------------------------------------

TEST_F(LinuxPackageFacilitatorOnADnfHost, BuildsADnfPackageThatSharesTheConfiguration) {
  const auto facilitator = make_facilitator();
  const auto config = std::make_shared<Stub_Package_Config>(Package_Config_Type::DNF);

  const auto package = facilitator.create_package(config);

  EXPECT_NE(std::dynamic_pointer_cast<DNF_Package>(package), nullptr);
  EXPECT_EQ(config.use_count(), 2);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, CannotBuildThePackageWithoutDnf) {
  host.system->on("which dnf &> /dev/null", 1);
  const auto facilitator = make_facilitator();

  expect_host_step_failed(
      [&] { facilitator.create_package(std::make_shared<Stub_Package_Config>(Package_Config_Type::DNF)); },
      "The DNF package manager is not available");
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RefusesAConfigurationOfAnotherFamily) {
  const auto facilitator = make_facilitator();

  for (const auto type : {Package_Config_Type::None, Package_Config_Type::APT, Package_Config_Type::Choco}) {
    expect_throws<Backend_Error<std::runtime_error>>(
        [&] { facilitator.create_package(std::make_shared<Stub_Package_Config>(type)); },
        "Invalid package configuration", 204800);
  }
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, RefusesAnEmptyConfiguration) {
  const auto facilitator = make_facilitator();

  expect_throws<Backend_Error<std::runtime_error>>([&] { facilitator.create_package(nullptr); },
                                                   "Invalid package configuration", 204800);
}

TEST_F(LinuxPackageFacilitatorOnADnfHost, KeepsWhatItFoundAtConstruction) {
  const auto facilitator = make_facilitator();
  host.files->add_file("/etc/os-release", "ID=debian\n");

  const auto config = facilitator.create_package_config(true);

  EXPECT_EQ(config->type(), Package_Config_Type::DNF);
}

// --- The whole ------------------------------------------------------------------------------------------

TEST_F(LinuxPackageFacilitatorOnADnfHost, CarriesAnEmptyHostThroughAWholeCycle) {
  const std::string import_key =
      "rpm --import https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg";
  const std::string lock_query = "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora";
  const std::string release =
      "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
      "dnf config-manager --setopt=quorvane.exclude= --save || "
      "yum-config-manager --setopt=quorvane.exclude= --save'";
  host.system->on(import_key, 0);
  host.system->on(lock_query, 1);
  host.system->on(release, 0);
  const auto facilitator = make_facilitator();
  Package_Minder minder(facilitator.create_package(facilitator.create_package_config(true)));

  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.system->commands(), ElementsAre("which dnf &> /dev/null", import_key, lock_query, release,
                                                   "which dnf-automatic &> /dev/null", DISABLE_OTHERS,
                                                   "systemctl start dnf-automatic-install.timer"));
  EXPECT_TRUE(host.files->has("/etc/yum.repos.d/quorvane.repo"));
}

}  // namespace
