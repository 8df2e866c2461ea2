#include <zant/velmora/dnf/dnf_package_config.hpp>

#include <support/fake_upgrade_timer_manager.hpp>
#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string INSTALLED = "/etc/yum.repos.d/quorvane.repo";
const std::string STAGED = "/staging/config-files/dnf/quorvane.repo";
const std::string IMPORT = "rpm --import http://mirror.example/key.gpg";
const std::string DNF_AUTOMATIC_PRESENCE = "which dnf-automatic &> /dev/null";
const std::string INSTALL_DNF_AUTOMATIC = "dnf -yq install dnf-automatic";

const std::string REPO_FILE =
    "[quorvane]\n"
    "name=Velmora Recorder\n"
    "baseurl=http://mirror.example/yum/\n"
    "gpgkey=http://mirror.example/key.gpg\n"
    "throttle=250k\n";

class DnfPackageConfig : public testing::Test {
 protected:
  DnfPackageConfig() {
    host.files->add_file("/staging/config-files/dnf/templates/quorvane.repo.template",
                         "[{}]\nname={}\nbaseurl={}\ngpgkey={}\nthrottle={}\n");
    host.files->add_file("/staging/config-files/dnf/templates/zant-on-calendar.conf.template", "{}");
    host.files->add_file("/staging/config-files/dnf/templates/zant-randomized-delay.conf.template", "{}");
    host.files->add_directory("/etc/yum.repos.d");
    manager->timer_config.on_calendar.source = "/staging/config-files/dnf/zant-on-calendar.conf";
    manager->timer_config.randomized_delay.source = "/staging/config-files/dnf/zant-randomized-delay.conf";
    host.system->on(IMPORT, 0);
  }

  // A configuration whose construction is no longer in the journal.
  std::unique_ptr<DNF_Package_Config> make_config(bool enabled = true) {
    auto config = std::make_unique<DNF_Package_Config>(host.files, host.system, "/staging",
                                                       DNF_Repo_Config(settings, "/staging"),
                                                       DNF_Unattended_Upgrade_Config(manager, enabled));
    host.take_journal();
    return config;
  }

  Recorded_Host host;
  Recorded_Settings settings{{"package.dnf.repo.baseurl", "http://mirror.example/yum/"},
                             {"package.dnf.repo.gpg_key", "http://mirror.example/key.gpg"},
                             {"package.dnf.repo.throttle", "250k"}};
  std::shared_ptr<Fake_Upgrade_Timer_Manager> manager =
      std::make_shared<Fake_Upgrade_Timer_Manager>(host.journal());
};

// --- Construction ---------------------------------------------------------------------------------------

TEST_F(DnfPackageConfig, RendersItsFilesAtConstruction) {
  manager->timer_config.on_calendar.value = "Sun 03:00";

  const DNF_Package_Config config(host.files, host.system, "/staging", DNF_Repo_Config(settings, "/staging"),
                                  DNF_Unattended_Upgrade_Config(manager, true));

  EXPECT_EQ(host.files->contents(STAGED), REPO_FILE);
  EXPECT_THAT(host.take_journal(),
              ElementsAre("list_files /staging/config-files/dnf/templates .template",
                          "read_file /staging/config-files/dnf/templates/quorvane.repo.template (0)",
                          "write_file /staging/config-files/dnf/quorvane.repo (0)",
                          "remove [/staging/config-files/dnf/zant-on-calendar.conf, "
                          "/staging/config-files/dnf/zant-randomized-delay.conf]",
                          "read_file /staging/config-files/dnf/templates/zant-on-calendar.conf.template (0)",
                          "write_file /staging/config-files/dnf/zant-on-calendar.conf (0)"));
}

TEST_F(DnfPackageConfig, RendersOnlyTheRepositoryFileWhenAutomaticUpgradesAreOff) {
  manager->timer_config.on_calendar.value = "Sun 03:00";

  const DNF_Package_Config config(host.files, host.system, "/staging", DNF_Repo_Config(settings, "/staging"),
                                  DNF_Unattended_Upgrade_Config(manager, false));

  EXPECT_THAT(host.take_journal(),
              ElementsAre("list_files /staging/config-files/dnf/templates .template",
                          "read_file /staging/config-files/dnf/templates/quorvane.repo.template (0)",
                          "write_file /staging/config-files/dnf/quorvane.repo (0)"));
}

TEST_F(DnfPackageConfig, CannotBeMadeWhenAFileCannotBeRendered) {
  host.files->fail("write_file /staging/config-files/dnf/quorvane.repo (0)");

  expect_host_step_failed([this] { make_config(); }, "Failed to generate file from template: quorvane.repo");
}

TEST_F(DnfPackageConfig, CannotBeMadeWithoutItsTemplates) {
  host.files->remove_all("/staging");

  EXPECT_THROW(make_config(), std::out_of_range);
}

TEST_F(DnfPackageConfig, IsOfTheDnfFamilyWhateverTheHostAndTheSettings) {
  const auto on = make_config(true);
  settings.set("package.dnf.repo.baseurl", "");
  host.files->remove_all("/etc");
  const auto off = make_config(false);

  EXPECT_EQ(static_cast<int>(on->type()), 2);
  EXPECT_EQ(static_cast<int>(off->type()), 2);
}

TEST_F(DnfPackageConfig, WorksWithCopiesOfItsRecords) {
  DNF_Repo_Config repo_config(settings, "/staging");
  DNF_Unattended_Upgrade_Config upgrade_config(manager, true);
  DNF_Package_Config config(host.files, host.system, "/staging", repo_config, upgrade_config);

  repo_config.base_url = "http://elsewhere.example/";
  repo_config.gpg_key_url = "http://elsewhere.example/key.gpg";
  upgrade_config.enabled = false;
  host.files->add_file(INSTALLED, REPO_FILE);
  host.take_journal();
  config.setup_repo_if_necessary();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("read_file /etc/yum.repos.d/quorvane.repo (0)",
                          "run rpm --import http://mirror.example/key.gpg",
                          "log 1 DNF_Package_Config: Successfully imported the repository GPG key: "
                          "http://mirror.example/key.gpg"));
}

// --- The repository file and its key --------------------------------------------------------------------

TEST_F(DnfPackageConfig, InstallsAMissingRepositoryFileThenImportsTheKey) {
  const auto config = make_config();

  config->setup_repo_if_necessary();

  EXPECT_EQ(host.files->contents(INSTALLED), REPO_FILE);
  EXPECT_THAT(host.take_journal(),
              ElementsAre("read_file /etc/yum.repos.d/quorvane.repo (0)",
                          "log 3 DNF_Package_Config: Updating DNF to include quorvane repository | URL: "
                          "http://mirror.example/yum/",
                          "copy_file /staging/config-files/dnf/quorvane.repo -> "
                          "/etc/yum.repos.d/quorvane.repo (2)",
                          "run rpm --import http://mirror.example/key.gpg",
                          "log 1 DNF_Package_Config: Successfully imported the repository GPG key: "
                          "http://mirror.example/key.gpg"));
}

TEST_F(DnfPackageConfig, ImportsTheKeyEveryTimeEvenIfTheFileIsCorrect) {
  host.files->add_file(INSTALLED, REPO_FILE);
  const auto config = make_config();

  config->setup_repo_if_necessary();
  config->setup_repo_if_necessary();

  EXPECT_THAT(host.system->commands(), ElementsAre(IMPORT, IMPORT));
}

TEST_F(DnfPackageConfig, LooksAtTheHostAfreshInEveryCall) {
  const auto config = make_config();
  config->setup_repo_if_necessary();
  host.files->remove(INSTALLED);

  config->setup_repo_if_necessary();

  EXPECT_EQ(host.files->contents(INSTALLED), REPO_FILE);
}

TEST_F(DnfPackageConfig, ReportsARepositoryFileThatCannotBeInstalledAndImportsNoKey) {
  const auto config = make_config();
  host.files->fail_copies_of(STAGED);

  expect_host_step_failed([&config] { config->setup_repo_if_necessary(); },
                          "Failed to install repository file: quorvane.repo");

  EXPECT_THAT(host.system->commands(), IsEmpty());
}

TEST_F(DnfPackageConfig, LetsAnExceptionOfTheFileServiceThroughAndImportsNoKey) {
  const auto config = make_config();
  host.files->during("read_file /etc/yum.repos.d/quorvane.repo (0)",
                     [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(config->setup_repo_if_necessary(), std::domain_error);

  EXPECT_THAT(host.system->commands(), IsEmpty());
}

TEST_F(DnfPackageConfig, LetsAnExceptionOfTheCommandServiceThrough) {
  const auto config = make_config();
  for (const auto& command : {IMPORT, DNF_AUTOMATIC_PRESENCE}) {
    host.system->on(command, 0);
    host.system->during(command, [] { throw std::domain_error("no shell"); });
  }

  EXPECT_THROW(config->setup_repo_if_necessary(), std::domain_error);
  EXPECT_THROW(config->setup_unattended_upgrades_if_necessary(), std::domain_error);
}

TEST_F(DnfPackageConfig, SaysNothingOfAKeyThatCannotBeImported) {
  host.files->add_file(INSTALLED, REPO_FILE);
  host.system->on(IMPORT, 1, "curl: (22) The requested URL returned error: 404");
  const auto config = make_config();

  EXPECT_NO_THROW(config->setup_repo_if_necessary());

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /etc/yum.repos.d/quorvane.repo (0)",
                                               "run rpm --import http://mirror.example/key.gpg"));
}

TEST_F(DnfPackageConfig, TriesAKeyThatCouldNotBeImportedAgain) {
  host.files->add_file(INSTALLED, REPO_FILE);
  host.system->once(IMPORT, 1);
  const auto config = make_config();

  config->setup_repo_if_necessary();
  config->setup_repo_if_necessary();

  EXPECT_THAT(host.log.messages(1),
              ElementsAre("Successfully imported the repository GPG key: http://mirror.example/key.gpg"));
}

TEST_F(DnfPackageConfig, TakesAMissingFileForCorrectWhenAllThreeValuesAreEmpty) {
  settings.set("package.dnf.repo.baseurl", "");
  settings.set("package.dnf.repo.gpg_key", "");
  settings.set("package.dnf.repo.throttle", "");
  host.system->on("rpm --import ", 1);
  const auto config = make_config();

  config->setup_repo_if_necessary();

  EXPECT_FALSE(host.files->has(INSTALLED));
  EXPECT_THAT(host.take_journal(),
              ElementsAre("read_file /etc/yum.repos.d/quorvane.repo (0)", "run rpm --import "));
}

TEST_F(DnfPackageConfig, ReplacesTheFileInEveryCallWhenAConfiguredValueEndsInABlank) {
  settings.set("package.dnf.repo.baseurl", "http://mirror.example/yum/ ");
  const auto config = make_config();

  config->setup_repo_if_necessary();
  config->setup_repo_if_necessary();

  EXPECT_THAT(host.log.messages(3),
              ElementsAre("Updating DNF to include quorvane repository | URL: http://mirror.example/yum/ ",
                          "Updating DNF to include quorvane repository | URL: http://mirror.example/yum/ "));
}

TEST_F(DnfPackageConfig, ReplacesAHugeFile) {
  std::string text = REPO_FILE + "throttle=1\n";
  while (text.size() < 4'000'000) {
    text += "option" + std::to_string(text.size()) + "=" + std::string(1000, 'x') + "\n";
  }
  host.files->add_file(INSTALLED, text);
  const auto config = make_config();

  config->setup_repo_if_necessary();

  EXPECT_EQ(host.files->contents(INSTALLED), REPO_FILE);
  EXPECT_THAT(host.log.messages(3),
              ElementsAre("Updating DNF to include quorvane repository | URL: http://mirror.example/yum/"));
}

// One text of the installed file, named for the list of tests.
struct Installed_Text {
  std::string name;
  std::string text;
};

void PrintTo(const Installed_Text& installed, std::ostream* stream) {
  *stream << installed.text;
}

std::string name_of(const testing::TestParamInfo<Installed_Text>& info) {
  return info.param.name;
}

std::string repo_file(const std::string& base_url, const std::string& key, const std::string& throttle) {
  return "[quorvane]\nname=Velmora Recorder\nbaseurl=" + base_url + "\ngpgkey=" + key +
         "\nthrottle=" + throttle + "\n";
}

class DnfRepoFileThatSaysWhatIsConfigured : public DnfPackageConfig,
                                            public testing::WithParamInterface<Installed_Text> {};

TEST_P(DnfRepoFileThatSaysWhatIsConfigured, IsLeftAlone) {
  host.files->add_file(INSTALLED, GetParam().text);
  const auto config = make_config();

  config->setup_repo_if_necessary();

  EXPECT_EQ(host.files->contents(INSTALLED), GetParam().text);
  EXPECT_THAT(host.log.messages(3), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , DnfRepoFileThatSaysWhatIsConfigured,
    testing::Values(
        Installed_Text{"AsItWasInstalled", REPO_FILE},
        Installed_Text{"WithAnExtraOption", REPO_FILE + "exclude=*\n"},
        Installed_Text{"WithAnotherName",
                       "[quorvane]\nname=Ours\nbaseurl=http://mirror.example/yum/\n"
                       "gpgkey=http://mirror.example/key.gpg\nthrottle=250k\n"},
        Installed_Text{"InAnotherOrder",
                       "[quorvane]\nthrottle=250k\ngpgkey=http://mirror.example/key.gpg\n"
                       "baseurl=http://mirror.example/yum/\n"},
        Installed_Text{
            "WithBlanksAroundTheEqualsSign",
            "[quorvane]\nbaseurl = http://mirror.example/yum/\ngpgkey\t=\thttp://mirror.example/key.gpg\n"
            "throttle  =  250k\n"},
        Installed_Text{"WithABlankBehindAnotherOption", REPO_FILE + "enabled=1 \n"},
        Installed_Text{"WithABlankBehindAnOptionThatOnlyBeginsLikeOurs", REPO_FILE + "throttle_all=1 \n"},
        Installed_Text{"WithABlankBehindAComment",
                       REPO_FILE + "#baseurl=http://old.example/ \n; throttle=1 \n"},
        Installed_Text{"WithABlankBehindTheSection",
                       "[quorvane] \nbaseurl=http://mirror.example/yum/\n"
                       "gpgkey=http://mirror.example/key.gpg\nthrottle=250k\n"},
        Installed_Text{"BesideAnotherSection",
                       "[other]\nbaseurl=http://other.example/ \n" + REPO_FILE + "[another]\nthrottle=1 \n"},
        Installed_Text{"WithoutALastLineEnd", REPO_FILE.substr(0, REPO_FILE.size() - 1)},
        Installed_Text{"WithLineEndsOfWindows",
                       "[quorvane]\r\nbaseurl=http://mirror.example/yum/\r\n"
                       "gpgkey=http://mirror.example/key.gpg\r\nthrottle=250k\r\n"},
        Installed_Text{"WithReferencesInOtherOptions",
                       REPO_FILE + "proxy=${quorvane.proxy}\nusername=${nobody}\npassword=${\n"}),
    name_of);

class DnfRepoFileThatSaysSomethingElse : public DnfPackageConfig,
                                         public testing::WithParamInterface<Installed_Text> {};

TEST_P(DnfRepoFileThatSaysSomethingElse, IsReplaced) {
  host.files->add_file(INSTALLED, GetParam().text);
  const auto config = make_config();

  config->setup_repo_if_necessary();

  EXPECT_EQ(host.files->contents(INSTALLED), REPO_FILE);
  EXPECT_THAT(host.log.messages(3),
              ElementsAre("Updating DNF to include quorvane repository | URL: http://mirror.example/yum/"));
}

const std::string URL = "http://mirror.example/yum/";
const std::string KEY = "http://mirror.example/key.gpg";
const std::string THROTTLE = "250k";

INSTANTIATE_TEST_SUITE_P(
    , DnfRepoFileThatSaysSomethingElse,
    testing::Values(
        Installed_Text{"Empty", ""}, Installed_Text{"OnlyALineEnd", "\n"},
        Installed_Text{"AnotherBaseUrl", repo_file("http://other.example/", KEY, THROTTLE)},
        Installed_Text{"AnotherKey", repo_file(URL, "http://other.example/", THROTTLE)},
        Installed_Text{"AnotherThrottle", repo_file(URL, KEY, "500k")},
        Installed_Text{"ABaseUrlWithoutItsSlash", repo_file("http://mirror.example/yum", KEY, THROTTLE)},
        Installed_Text{"ABaseUrlInOtherCase", repo_file("http://MIRROR.example/yum/", KEY, THROTTLE)},
        Installed_Text{"NoBaseUrl", "[quorvane]\ngpgkey=" + KEY + "\nthrottle=250k\n"},
        Installed_Text{"NoKey", "[quorvane]\nbaseurl=" + URL + "\nthrottle=250k\n"},
        Installed_Text{"NoThrottle", "[quorvane]\nbaseurl=" + URL + "\ngpgkey=" + KEY + "\n"},
        Installed_Text{"ABlankBehindTheBaseUrl", repo_file(URL + " ", KEY, THROTTLE)},
        Installed_Text{"ABlankBehindTheKey", repo_file(URL, KEY + " ", THROTTLE)},
        Installed_Text{"ABlankBehindTheThrottle", repo_file(URL, KEY, THROTTLE + " ")},
        Installed_Text{"ATabBehindTheBaseUrl", repo_file(URL + "\t", KEY, THROTTLE)},
        Installed_Text{"ABlankBeforeALineEndOfWindows", repo_file(URL + " \r", KEY, THROTTLE)},
        Installed_Text{"ABlankBehindTheLastLine", REPO_FILE.substr(0, REPO_FILE.size() - 1) + " "},
        Installed_Text{"ABlankBehindTheBaseUrlOfASectionWithBlanks",
                       "[ quorvane ] # ours\nbaseurl=" + URL + " \ngpgkey=" + KEY + "\nthrottle=250k\n"},
        Installed_Text{"NoSection", "baseurl=" + URL + "\ngpgkey=" + KEY + "\nthrottle=250k\n"},
        Installed_Text{"AnotherSection", "[other]\nbaseurl=" + URL + "\ngpgkey=" + KEY + "\nthrottle=250k\n"},
        Installed_Text{"AnotherSectionsValue",
                       "[quorvane]\ngpgkey=" + KEY + "\nthrottle=250k\n[other]\nbaseurl=" + URL + "\n"},
        Installed_Text{"AReferenceToItself", repo_file("${quorvane.baseurl}", KEY, THROTTLE)},
        Installed_Text{"ReferencesInACircle", repo_file("${quorvane.throttle}", KEY, "${quorvane.baseurl}")},
        Installed_Text{"AReferenceToTheRightValue",
                       repo_file("${quorvane.ours}", KEY, THROTTLE) + "ours=" + URL + "\n"},
        Installed_Text{"AnUnfinishedReference", repo_file("${quorvane.", "${", "${}")},
        Installed_Text{"OnlyReferences",
                       "${a}\n[${b}]\n${c}=${c}\n[quorvane]\n${baseurl}=${quorvane.${baseurl}}\n"},
        Installed_Text{"Binary", std::string("\x7f"
                                             "ELF\0\xff\xfe[quorvane\0=\n\0\0]baseurl=\x80\n=\n[\n",
                                             35)},
        Installed_Text{"APageOfHtml",
                       "<!DOCTYPE html>\n<html lang=\"en\"><body>Not found [404]</body></html>\n"},
        Installed_Text{"OnlyBrackets", "[[[[]]]]\n[\n]\n[]"},
        Installed_Text{"OnlyEqualsSigns", "====\n=\n[quorvane]\n="}),
    name_of);

// --- Automatic upgrades ---------------------------------------------------------------------------------

TEST_F(DnfPackageConfig, DoesNothingForAutomaticUpgradesThatAreOff) {
  const auto config = make_config(false);

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(DnfPackageConfig, OnlyInitializesTheTimerWhenDnfAutomaticIsThere) {
  host.system->on(DNF_AUTOMATIC_PRESENCE, 0);
  const auto config = make_config();

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(), ElementsAre("run which dnf-automatic &> /dev/null", "initialize_timer"));
}

TEST_F(DnfPackageConfig, InstallsAMissingDnfAutomaticBeforeItInitializesTheTimer) {
  host.system->on(DNF_AUTOMATIC_PRESENCE, 1);
  host.system->on(INSTALL_DNF_AUTOMATIC, 0);
  const auto config = make_config();

  config->setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run which dnf-automatic &> /dev/null",
                          "log 3 DNF_Package_Config: Installing the dnf-automatic package",
                          "run dnf -yq install dnf-automatic", "initialize_timer"));
}

TEST_F(DnfPackageConfig, ReportsADnfAutomaticThatCannotBeInstalledAndLeavesTheTimerAlone) {
  host.system->on(DNF_AUTOMATIC_PRESENCE, 1);
  host.system->on(INSTALL_DNF_AUTOMATIC, 1);
  const auto config = make_config();

  expect_host_step_failed([&config] { config->setup_unattended_upgrades_if_necessary(); },
                          "Failed to install the dnf-automatic package");

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run which dnf-automatic &> /dev/null",
                          "log 3 DNF_Package_Config: Installing the dnf-automatic package",
                          "run dnf -yq install dnf-automatic"));
}

TEST_F(DnfPackageConfig, LetsAnExceptionOfTheTimerManagerThrough) {
  class Failing_Manager : public Fake_Upgrade_Timer_Manager {
   public:
    void initialize_timer() override { throw std::domain_error("no timer"); }
  };
  manager = std::make_shared<Failing_Manager>();
  host.system->on(DNF_AUTOMATIC_PRESENCE, 0);
  const auto config = make_config();

  EXPECT_THROW(config->setup_unattended_upgrades_if_necessary(), std::domain_error);
}

// --- Purge ----------------------------------------------------------------------------------------------

TEST_F(DnfPackageConfig, OnlyRestoresTheTimerWhenAutomaticUpgradesArePurged) {
  for (const bool enabled : {true, false}) {
    const auto config = make_config(enabled);

    config->purge_unattended_upgrade_configuration();

    EXPECT_THAT(host.take_journal(), ElementsAre("restore_timer"));
  }
}

TEST_F(DnfPackageConfig, PurgesTheRepositoryFileThenTheTimer) {
  host.files->add_file(INSTALLED, REPO_FILE);
  const auto config = make_config();

  config->purge_all_configurations();

  EXPECT_FALSE(host.files->has(INSTALLED));
  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /etc/yum.repos.d/quorvane.repo",
                          "log 3 DNF_Package_Config: Removing zant-velmora repository file: "
                          "/etc/yum.repos.d/quorvane.repo",
                          "remove /etc/yum.repos.d/quorvane.repo", "restore_timer"));
}

TEST_F(DnfPackageConfig, SaysNothingOfAnAbsentRepositoryFileAndStillRestoresTheTimer) {
  const auto config = make_config();

  config->purge_all_configurations();

  EXPECT_THAT(host.take_journal(), ElementsAre("exists /etc/yum.repos.d/quorvane.repo", "restore_timer"));
}

TEST_F(DnfPackageConfig, SaysNothingOfARepositoryFileThatStaysAndStillRestoresTheTimer) {
  host.files->add_file(INSTALLED, REPO_FILE);
  host.files->fail("remove /etc/yum.repos.d/quorvane.repo");
  const auto config = make_config();

  EXPECT_NO_THROW(config->purge_all_configurations());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("exists /etc/yum.repos.d/quorvane.repo",
                          "log 3 DNF_Package_Config: Removing zant-velmora repository file: "
                          "/etc/yum.repos.d/quorvane.repo",
                          "remove /etc/yum.repos.d/quorvane.repo", "restore_timer"));
}

TEST_F(DnfPackageConfig, IgnoresThatThereWasNoTimerToRestore) {
  manager->restores = false;
  const auto config = make_config();

  EXPECT_NO_THROW(config->purge_all_configurations());

  EXPECT_THAT(host.log.records(), IsEmpty());
}

TEST_F(DnfPackageConfig, PurgesEverythingThroughADerivedClasssPurgeOfAutomaticUpgrades) {
  class Derived : public DNF_Package_Config {
   public:
    using DNF_Package_Config::DNF_Package_Config;
    void purge_unattended_upgrade_configuration() override { purged = true; }
    bool purged = false;
  };
  Derived config(host.files, host.system, "/staging", DNF_Repo_Config(settings, "/staging"),
                 DNF_Unattended_Upgrade_Config(manager, true));
  host.take_journal();

  config.purge_all_configurations();

  EXPECT_TRUE(config.purged);
  EXPECT_THAT(host.take_journal(), ElementsAre("exists /etc/yum.repos.d/quorvane.repo"));
}

}  // namespace
