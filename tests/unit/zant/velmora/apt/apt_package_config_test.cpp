#include "apt_package_config_fixture.hpp"

#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<Package_Config, APT_Package_Config>);

class AptPackageConfig : public test_support::Apt_Package_Config_Test {
 protected:
  // As the others are made, but with the journal left as it is.
  void construct(const APT_Repo_Config& repo_config, const APT_Unattended_Upgrade_Config& upgrade_config) {
    host.take_journal();
    APT_Package_Config(host.files, host.system, "/staging", repo_config, upgrade_config);
  }
};

TEST_F(AptPackageConfig, IsOfTheAptFamilyWhateverTheHostAndTheSettings) {
  const auto on = make_config(true);
  settings.set("package.apt.repo.url", "");
  host.files->remove_all("/etc");
  const auto off = make_config(false);

  EXPECT_EQ(static_cast<int>(on.type()), 1);
  EXPECT_EQ(static_cast<int>(off.type()), 1);
}

TEST_F(AptPackageConfig, RendersTheSourceListTheServiceFilesAndTheTimersDropInsAtConstruction) {
  host.files->add_file("/staging/config-files/apt/templates/zant-on-calendar.conf.template", "OnCalendar={}");
  timer_manager->timer_config = {{"/staging/config-files/apt/zant-on-calendar.conf", "/timer.d/1", "daily"},
                                 {"/staging/config-files/apt/zant-randomized-delay.conf", "/timer.d/2", ""},
                                 "/timer.d"};

  construct(make_repo_config(), make_upgrade_config());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("list_files /staging/config-files/apt/templates .template",
                          "read_file /staging/config-files/apt/templates/zant-velmora.list.template (0)",
                          "write_file /staging/config-files/apt/zant-velmora.list (0)",
                          "read_file /staging/config-files/apt/templates/50unattended-upgrades.template (0)",
                          "write_file /staging/config-files/apt/50unattended-upgrades (0)",
                          "read_file /staging/config-files/apt/templates/75lowerspeed.template (0)",
                          "write_file /staging/config-files/apt/75lowerspeed (0)",
                          "remove [/staging/config-files/apt/zant-on-calendar.conf, "
                          "/staging/config-files/apt/zant-randomized-delay.conf]",
                          "read_file /staging/config-files/apt/templates/zant-on-calendar.conf.template (0)",
                          "write_file /staging/config-files/apt/zant-on-calendar.conf (0)"));
  EXPECT_EQ(host.files->contents("/staging/config-files/apt/zant-velmora.list"),
            "deb [arch=amd64] https://host/apt/ testing main\n");
  EXPECT_EQ(host.files->contents("/staging/config-files/apt/50unattended-upgrades"), "Origins \"o=Vendor\";");
  EXPECT_EQ(host.files->contents("/staging/config-files/apt/75lowerspeed"), "Limit 250");
  EXPECT_EQ(host.files->contents("/staging/config-files/apt/zant-on-calendar.conf"), "OnCalendar=daily");
}

TEST_F(AptPackageConfig, RendersOnlyTheSourceListWhenAutomaticUpgradesAreOff) {
  construct(make_repo_config(), make_upgrade_config(false));

  EXPECT_THAT(host.take_journal(),
              ElementsAre("list_files /staging/config-files/apt/templates .template",
                          "read_file /staging/config-files/apt/templates/zant-velmora.list.template (0)",
                          "write_file /staging/config-files/apt/zant-velmora.list (0)"));
}

TEST_F(AptPackageConfig, RendersTheFilesAgainAtEveryConstruction) {
  make_config();
  host.files->add_file("/staging/config-files/apt/zant-velmora.list", "edited");
  host.files->add_file("/staging/config-files/apt/75lowerspeed", "edited");

  make_config();

  EXPECT_EQ(host.files->contents("/staging/config-files/apt/zant-velmora.list"),
            "deb [arch=amd64] https://host/apt/ testing main\n");
  EXPECT_EQ(host.files->contents("/staging/config-files/apt/75lowerspeed"), "Limit 250");
}

TEST_F(AptPackageConfig, RendersNoDropInsWithoutATimerManager) {
  timer_manager = nullptr;

  construct(make_repo_config(), make_upgrade_config());

  EXPECT_EQ(host.take_journal().back(), "write_file /staging/config-files/apt/75lowerspeed (0)");
}

TEST_F(AptPackageConfig, CannotBeMadeWithoutItsTemplates) {
  host.files->remove_all("/staging/config-files/apt/templates");

  EXPECT_THROW(make_config(), std::out_of_range);
}

TEST_F(AptPackageConfig, CannotBeMadeWhenAFileCannotBeRendered) {
  host.files->fail("write_file /staging/config-files/apt/75lowerspeed (0)");

  expect_host_step_failed([this] { make_config(); }, "Failed to generate file from template: 75lowerspeed");
}

TEST_F(AptPackageConfig, WorksWithCopiesOfTheRecordsItWasGiven) {
  auto repo_config = make_repo_config();
  auto upgrade_config = make_upgrade_config();
  auto config = make_config(repo_config, upgrade_config);
  repo_config.keyring.target = "/elsewhere";
  repo_config.source_list.target = "/elsewhere";
  upgrade_config.enabled = false;

  config.setup_repo_if_necessary();
  config.setup_unattended_upgrades_if_necessary();

  EXPECT_EQ(installed("trusted.gpg.d/zant-velmora.gpg"), "key");
  EXPECT_EQ(installed("sources.list.d/zant-velmora.list"),
            "deb [arch=amd64] https://host/apt/ testing main\n");
  EXPECT_EQ(installed("apt.conf.d/75lowerspeed"), "Limit 250");
}

TEST_F(AptPackageConfig, OnlyComparesAndStartsTheServiceWhenSetUpAgain) {
  auto config = make_config();
  config.setup_repo_if_necessary();
  config.setup_unattended_upgrades_if_necessary();
  host.take_journal();

  config.setup_repo_if_necessary();
  config.setup_unattended_upgrades_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "files_equal /staging/config-files/apt/zant-velmora.list "
                  "/etc/apt/sources.list.d/zant-velmora.list",
                  "run which unattended-upgrades > /dev/null",
                  "run service unattended-upgrades start > /dev/null",
                  "files_equal /etc/apt/apt.conf.d/20auto-upgrades "
                  "/staging/config-files/apt/20auto-upgrades",
                  "files_equal /etc/apt/apt.conf.d/50unattended-upgrades "
                  "/staging/config-files/apt/50unattended-upgrades",
                  "files_equal /etc/apt/apt.conf.d/75lowerspeed /staging/config-files/apt/75lowerspeed",
                  "initialize_timer"));
}

}  // namespace
