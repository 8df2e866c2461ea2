#include <zant/velmora/dnf/dnf_repo_config.hpp>

#include <support/recorded_settings.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;

namespace {

static_assert(!std::is_polymorphic_v<DNF_Repo_Config>);

class DnfRepoConfig : public testing::Test {
 protected:
  DNF_Repo_Config read() const { return {settings, "/staging"}; }

  Recorded_Settings settings;
};

TEST_F(DnfRepoConfig, HasTheDefaultsWhenNothingIsSet) {
  const DNF_Repo_Config config = read();

  EXPECT_EQ(config.base_url, "https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/");
  EXPECT_EQ(config.gpg_key_url, "https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg");
  EXPECT_EQ(config.throttle, "500k");
}

TEST_F(DnfRepoConfig, KnowsWhereTheFileIsStagedAndInstalled) {
  const DNF_Repo_Config config = read();

  EXPECT_EQ(config.staged_repo_file, "/staging/config-files/dnf/quorvane.repo");
  EXPECT_EQ(config.installed_repo_file, "/etc/yum.repos.d/quorvane.repo");
}

TEST_F(DnfRepoConfig, AddsAChannelOfItsOwnToTheDefaultUrl) {
  settings.set("package.dnf.repo.channel", "beta");

  EXPECT_EQ(read().base_url, "https://repo.velmora.example/velmora-yum-repo/repos/beta/");
}

TEST_F(DnfRepoConfig, JoinsUrlAndChannelWithSlashes) {
  settings.set("package.dnf.repo.url", "http://mirror.example/yum");
  settings.set("package.dnf.repo.channel", "beta");

  EXPECT_EQ(read().base_url, "http://mirror.example/yum/beta/");
}

TEST_F(DnfRepoConfig, AddsTheDefaultChannelToAUrlOfItsOwn) {
  settings.set("package.dnf.repo.url", "http://mirror.example/yum");

  EXPECT_EQ(read().base_url, "http://mirror.example/yum/systemd-production/");
}

TEST_F(DnfRepoConfig, GivesAUrlThatEndsInASlashADoubleSlash) {
  settings.set("package.dnf.repo.url", "http://mirror.example/yum/");
  settings.set("package.dnf.repo.channel", "beta");

  EXPECT_EQ(read().base_url, "http://mirror.example/yum//beta/");
}

TEST_F(DnfRepoConfig, TakesAnExplicitBaseUrlAsItIs) {
  settings.set("package.dnf.repo.baseurl", "http://mirror.example/$basearch");
  settings.set("package.dnf.repo.url", "http://ignored.example");
  settings.set("package.dnf.repo.channel", "ignored");

  EXPECT_EQ(read().base_url, "http://mirror.example/$basearch");
}

TEST_F(DnfRepoConfig, TakesAnEmptyBaseUrlForAnExplicitOne) {
  settings.set("package.dnf.repo.baseurl", "");

  EXPECT_EQ(read().base_url, "");
}

TEST_F(DnfRepoConfig, ReadsNeitherUrlNorChannelBesideAnExplicitBaseUrl) {
  settings.set("package.dnf.repo.baseurl", "http://mirror.example/yum/");

  read();

  EXPECT_THAT(settings.keys(), ElementsAre("package.dnf.repo.gpg_key", "package.dnf.repo.baseurl",
                                           "package.dnf.repo.throttle"));
}

TEST_F(DnfRepoConfig, ReadsUrlThenChannelWithoutAnExplicitBaseUrl) {
  read();

  EXPECT_THAT(settings.keys(),
              ElementsAre("package.dnf.repo.gpg_key", "package.dnf.repo.baseurl", "package.dnf.repo.url",
                          "package.dnf.repo.channel", "package.dnf.repo.throttle"));
}

TEST_F(DnfRepoConfig, TakesKeyUrlAndThrottleAsTheyAre) {
  settings.set("package.dnf.repo.gpg_key", "file:///etc/pki/ours.gpg");
  settings.set("package.dnf.repo.throttle", " any text ");

  const DNF_Repo_Config config = read();

  EXPECT_EQ(config.gpg_key_url, "file:///etc/pki/ours.gpg");
  EXPECT_EQ(config.throttle, " any text ");
}

TEST_F(DnfRepoConfig, ExpandsReferencesBetweenSettings) {
  settings.set("site.mirror", "http://mirror.example");
  settings.set("package.dnf.repo.url", "${site.mirror}/yum");

  EXPECT_EQ(read().base_url, "http://mirror.example/yum/systemd-production/");
}

TEST_F(DnfRepoConfig, IsNotChangedByALaterChangeOfTheSettings) {
  const DNF_Repo_Config config = read();

  settings.set("package.dnf.repo.throttle", "1M");

  EXPECT_EQ(config.throttle, "500k");
}

TEST_F(DnfRepoConfig, HoldsItsFieldsInAFixedOrder) {
  const auto& [staged_repo_file, installed_repo_file, gpg_key_url, base_url, throttle] = read();

  EXPECT_EQ(staged_repo_file, "/staging/config-files/dnf/quorvane.repo");
  EXPECT_EQ(installed_repo_file, "/etc/yum.repos.d/quorvane.repo");
  EXPECT_EQ(gpg_key_url, "https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg");
  EXPECT_EQ(base_url, "https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/");
  EXPECT_EQ(throttle, "500k");
  static_assert(std::is_same_v<decltype(staged_repo_file), const boost::filesystem::path>);
  static_assert(std::is_same_v<decltype(installed_repo_file), const boost::filesystem::path>);
  static_assert(std::is_same_v<decltype(gpg_key_url), const std::string>);
}

}  // namespace
