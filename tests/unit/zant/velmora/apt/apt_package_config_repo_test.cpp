#include "apt_package_config_fixture.hpp"

#include <stdexcept>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

class AptRepoSetup : public test_support::Apt_Package_Config_Test {
 protected:
  void install_keyring() { host.files->add_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "key"); }
  void install_source_list() {
    host.files->add_file("/etc/apt/sources.list.d/zant-velmora.list",
                         "deb [arch=amd64] https://host/apt/ testing main\n");
  }
};

class AptRepoProof : public AptRepoSetup {
 protected:
  AptRepoProof() {
    install_keyring();
    host.system->on(REFRESH, 100);
  }

  void set_up_with_policy(const std::string& url, int exit_code, const std::string& policy) {
    settings.set("package.apt.repo.url", url);
    host.system->on(POLICY, exit_code, policy);
    auto config = make_config();
    config.setup_repo_if_necessary();
  }

  void expect_rejected(const std::string& url, int exit_code, const std::string& policy) {
    expect_host_step_failed([&] { set_up_with_policy(url, exit_code, policy); },
                            "The APT source list file for zant-velmora is invalid (it's likely misconfigured "
                            "or the repo URL is unreachable)");
    EXPECT_FALSE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
  }

  void expect_accepted(const std::string& url, int exit_code, const std::string& policy) {
    EXPECT_NO_THROW(set_up_with_policy(url, exit_code, policy));
    EXPECT_TRUE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
  }
};

TEST_F(AptRepoSetup, InstallsTheKeyringAndThenTheSourceListAndProvesIt) {
  make_config().setup_repo_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre(
          "files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
          "log 3 APT_Package_Config: Installing APT repository keyring: "
          "\"/etc/apt/trusted.gpg.d/zant-velmora.gpg\"",
          "copy_file /staging/keyrings/zant-velmora.gpg -> /etc/apt/trusted.gpg.d/zant-velmora.gpg (2)",
          "files_equal /staging/config-files/apt/zant-velmora.list /etc/apt/sources.list.d/zant-velmora.list",
          "log 3 APT_Package_Config: Updating APT to include zant-velmora repository | URL: "
          "https://host/apt/ | channel: testing",
          "copy_file /staging/config-files/apt/zant-velmora.list -> "
          "/etc/apt/sources.list.d/zant-velmora.list (2)",
          "run apt-get -qq update"));
  EXPECT_EQ(installed("trusted.gpg.d/zant-velmora.gpg"), "key");
  EXPECT_EQ(installed("sources.list.d/zant-velmora.list"),
            "deb [arch=amd64] https://host/apt/ testing main\n");
}

TEST_F(AptRepoSetup, OnlyComparesWhenBothAreInPlace) {
  install_keyring();
  install_source_list();

  make_config().setup_repo_if_necessary();

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "files_equal /staging/config-files/apt/zant-velmora.list "
                  "/etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(AptRepoSetup, ReplacesAKeyringThatDiffersWithoutARefresh) {
  host.files->add_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "an older key");
  install_source_list();

  make_config().setup_repo_if_necessary();

  EXPECT_EQ(installed("trusted.gpg.d/zant-velmora.gpg"), "key");
  EXPECT_THAT(host.take_journal(), Not(Contains("run apt-get -qq update")));
}

TEST_F(AptRepoSetup, ReplacesASourceListThatDiffersAndProvesIt) {
  install_keyring();
  host.files->add_file("/etc/apt/sources.list.d/zant-velmora.list", "# edited");

  make_config().setup_repo_if_necessary();

  EXPECT_EQ(installed("sources.list.d/zant-velmora.list"),
            "deb [arch=amd64] https://host/apt/ testing main\n");
  EXPECT_EQ(host.take_journal().back(), "run apt-get -qq update");
}

TEST_F(AptRepoSetup, WritesThePathOfTheKeyringInItsQuotedForm) {
  auto repo_config = make_repo_config();
  repo_config.keyring.target = "/etc/apt/a \"b\" & c.gpg";

  make_config(repo_config, make_upgrade_config()).setup_repo_if_necessary();

  EXPECT_EQ(host.log.messages(3).front(),
            "Installing APT repository keyring: \"/etc/apt/a &\"b&\" && c.gpg\"");
}

TEST_F(AptRepoSetup, DoesNotUseSettingsAsFormats) {
  settings.set("package.apt.repo.url", "https://{}/");
  settings.set("package.apt.repo.channel", "{0}");
  install_keyring();

  make_config().setup_repo_if_necessary();

  EXPECT_THAT(host.log.messages(3), ElementsAre("Updating APT to include zant-velmora repository | URL: "
                                                "https://{}/ | channel: {0}"));
}

TEST_F(AptRepoSetup, StopsWhenTheKeyringCannotBeCopied) {
  host.files->fail_copies_of("/staging/keyrings/zant-velmora.gpg");

  expect_host_step_failed([this] { make_config().setup_repo_if_necessary(); },
                          "Failed to install APT repository keyring for zant-velmora");

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre(
          "files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
          "log 3 APT_Package_Config: Installing APT repository keyring: "
          "\"/etc/apt/trusted.gpg.d/zant-velmora.gpg\"",
          "copy_file /staging/keyrings/zant-velmora.gpg -> /etc/apt/trusted.gpg.d/zant-velmora.gpg (2)"));
}

TEST_F(AptRepoSetup, StopsWhenTheSourceListCannotBeCopied) {
  install_keyring();
  host.files->fail_copies_of("/staging/config-files/apt/zant-velmora.list");

  expect_host_step_failed([this] { make_config().setup_repo_if_necessary(); },
                          "Failed to install APT source list file for zant-velmora");

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "files_equal /staging/config-files/apt/zant-velmora.list "
                  "/etc/apt/sources.list.d/zant-velmora.list",
                  "log 3 APT_Package_Config: Updating APT to include zant-velmora repository | URL: "
                  "https://host/apt/ | channel: testing",
                  "copy_file /staging/config-files/apt/zant-velmora.list -> "
                  "/etc/apt/sources.list.d/zant-velmora.list (2)"));
}

TEST_F(AptRepoSetup, LeavesAnEarlierKeyringAsTheFailedCopyLeftIt) {
  host.files->add_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "an older key");
  host.files->fail_copies_of("/staging/keyrings/zant-velmora.gpg");

  EXPECT_THROW(make_config().setup_repo_if_necessary(), Internal_Error<std::runtime_error>);

  EXPECT_EQ(installed("trusted.gpg.d/zant-velmora.gpg"), "an older key");
}

TEST_F(AptRepoSetup, LeavesAnEarlierSourceListAsTheFailedCopyLeftIt) {
  host.files->add_file("/etc/apt/sources.list.d/zant-velmora.list", "# earlier");
  host.files->fail_copies_of("/staging/config-files/apt/zant-velmora.list");

  EXPECT_THROW(make_config().setup_repo_if_necessary(), Internal_Error<std::runtime_error>);

  EXPECT_EQ(installed("sources.list.d/zant-velmora.list"), "# earlier");
}

TEST_F(AptRepoSetup, LetsAnExceptionOfAServiceThrough) {
  host.system->during(REFRESH, [] { throw std::domain_error("no shell"); });

  EXPECT_THROW(make_config().setup_repo_if_necessary(), std::domain_error);
}

TEST_F(AptRepoProof, ToleratesSomebodyElsesBrokenRepository) {
  set_up_with_policy("https://host/apt/", 0, "  *** 1.0 500\n     500 https://host/apt testing/main amd64");

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "files_equal /staging/config-files/apt/zant-velmora.list "
                  "/etc/apt/sources.list.d/zant-velmora.list",
                  "log 3 APT_Package_Config: Updating APT to include zant-velmora repository | URL: "
                  "https://host/apt/ | channel: testing",
                  "copy_file /staging/config-files/apt/zant-velmora.list -> "
                  "/etc/apt/sources.list.d/zant-velmora.list (2)",
                  "run apt-get -qq update", "run apt-cache policy zant-velmora"));
  EXPECT_TRUE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(AptRepoProof, TakesAListThatIsNotUsableOutAgainBeforeItThrows) {
  expect_rejected("https://host/apt/", 0, "zant-velmora:\n  Installed: 1.0");

  EXPECT_THAT(
      host.take_journal(),
      ElementsAre("files_equal /staging/keyrings/zant-velmora.gpg /etc/apt/trusted.gpg.d/zant-velmora.gpg",
                  "files_equal /staging/config-files/apt/zant-velmora.list "
                  "/etc/apt/sources.list.d/zant-velmora.list",
                  "log 3 APT_Package_Config: Updating APT to include zant-velmora repository | URL: "
                  "https://host/apt/ | channel: testing",
                  "copy_file /staging/config-files/apt/zant-velmora.list -> "
                  "/etc/apt/sources.list.d/zant-velmora.list (2)",
                  "run apt-get -qq update", "run apt-cache policy zant-velmora",
                  "remove /etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(AptRepoProof, IsGivenAgainInTheNextCycleAfterARejection) {
  expect_rejected("https://host/apt/", 0, "");
  host.system->on(REFRESH, 0);

  make_config().setup_repo_if_necessary();

  EXPECT_TRUE(host.files->has("/etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(AptRepoProof, LooksAtTheOutputOfThePolicyAndNotAtHowItEnded) {
  expect_accepted("https://host/apt/", 100, "500 https://host/apt testing/main");
}

TEST_F(AptRepoProof, DoesNotTakeASuccessfulPolicyForAnAnswer) {
  expect_rejected("https://host/apt/", 0, "500 https://other/apt testing/main");
}

TEST_F(AptRepoProof, StripsEverySlashAtTheEndOfTheUrl) {
  expect_accepted("https://host/apt///", 0, "500 https://host/apt testing/main");
}

TEST_F(AptRepoProof, StripsNothingElseOfTheUrl) {
  expect_rejected("https://host/apt/ ", 0, "500 https://host/apt testing/main");
}

TEST_F(AptRepoProof, KeepsTheSlashesAtTheStartOfTheUrl) {
  expect_rejected("//host/apt/", 0, "500 host/apt testing/main");
}

TEST_F(AptRepoProof, TakesAnEmptyUrlForContained) {
  expect_accepted("", 0, "");
}

TEST_F(AptRepoProof, TakesAUrlOfNothingButSlashesForContained) {
  expect_accepted("//", 0, "");
}

TEST_F(AptRepoProof, ThrowsTheSameErrorWhenTheListCannotBeTakenOut) {
  host.files->fail("remove /etc/apt/sources.list.d/zant-velmora.list");

  expect_host_step_failed([this] { set_up_with_policy("https://host/apt/", 0, ""); },
                          "The APT source list file for zant-velmora is invalid (it's likely misconfigured "
                          "or the repo URL is unreachable)");
}

}  // namespace
