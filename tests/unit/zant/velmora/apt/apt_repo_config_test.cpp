#include <zant/velmora/apt/apt_repo_config.hpp>

#include <support/fake_system.hpp>
#include <support/recorded_settings.hpp>
#include <support/throws_error.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(!std::is_polymorphic_v<APT_Repo_Config>);

constexpr const char* ARCHITECTURE_QUERY = "dpkg-query -f='${Architecture}' -W zant-velmora";

class AptRepoConfig : public testing::Test {
 protected:
  AptRepoConfig() { system->on(ARCHITECTURE_QUERY, 0, "amd64"); }

  APT_Repo_Config make_config(Init init = Init::systemd) const {
    return APT_Repo_Config(system, settings, "/staging", init);
  }

  void expect_invalid(Init init) {
    expect_throws<Internal_Error<std::logic_error>>([&] { make_config(init); }, "Invalid init value", -2);
  }

  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  Recorded_Settings settings;
};

TEST_F(AptRepoConfig, KnowsWhereTheKeyringComesFromAndGoes) {
  const auto config = make_config();

  EXPECT_EQ(config.keyring.source, "/staging/keyrings/zant-velmora.gpg");
  EXPECT_EQ(config.keyring.target, "/etc/apt/trusted.gpg.d/zant-velmora.gpg");
}

TEST_F(AptRepoConfig, KnowsWhereTheSourceListComesFromAndGoes) {
  const auto config = make_config();

  EXPECT_EQ(config.source_list.source, "/staging/config-files/apt/zant-velmora.list");
  EXPECT_EQ(config.source_list.target, "/etc/apt/sources.list.d/zant-velmora.list");
}

TEST_F(AptRepoConfig, GivesASystemdHostTheSecureDefaultAndItsChannel) {
  const auto config = make_config(Init::systemd);

  EXPECT_EQ(config.source_list.url, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(config.source_list.channel, "systemd-production");
}

TEST_F(AptRepoConfig, GivesASysvinitHostThePlainDefaultAndItsChannel) {
  const auto config = make_config(Init::other);

  EXPECT_EQ(config.source_list.url, "http://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(config.source_list.channel, "sysvinit-production");
}

TEST_F(AptRepoConfig, TakesBothSettingsVerbatim) {
  settings.set("package.apt.repo.url", "ftp://host/no/slash");
  settings.set("package.apt.repo.channel", " testing ");

  const auto config = make_config();

  EXPECT_EQ(config.source_list.url, "ftp://host/no/slash");
  EXPECT_EQ(config.source_list.channel, " testing ");
}

TEST_F(AptRepoConfig, TakesSettingsThatAreThereButEmpty) {
  settings.set("package.apt.repo.url", "");
  settings.set("package.apt.repo.channel", "");

  const auto config = make_config();

  EXPECT_EQ(config.source_list.url, "");
  EXPECT_EQ(config.source_list.channel, "");
}

TEST_F(AptRepoConfig, TakesTheDefaultChannelBesideAConfiguredUrl) {
  settings.set("package.apt.repo.url", "https://host/apt/");

  const auto config = make_config(Init::other);

  EXPECT_EQ(config.source_list.url, "https://host/apt/");
  EXPECT_EQ(config.source_list.channel, "sysvinit-production");
}

TEST_F(AptRepoConfig, TakesTheDefaultUrlBesideAConfiguredChannel) {
  settings.set("package.apt.repo.channel", "testing");

  const auto config = make_config(Init::systemd);

  EXPECT_EQ(config.source_list.url, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(config.source_list.channel, "testing");
}

TEST_F(AptRepoConfig, ExpandsReferencesBetweenSettings) {
  settings.set("site.mirror", "mirror.test");
  settings.set("package.apt.repo.url", "https://${site.mirror}/apt/");
  settings.set("package.apt.repo.channel", "${site.channel}-${site.mirror}");

  const auto config = make_config();

  EXPECT_EQ(config.source_list.url, "https://mirror.test/apt/");
  EXPECT_EQ(config.source_list.channel, "${site.channel}-mirror.test");
}

TEST_F(AptRepoConfig, LetsTheSettingsErrorOfACircleThrough) {
  settings.set("package.apt.repo.url", "${package.apt.repo.url}");

  EXPECT_THROW(make_config(), Poco::CircularReferenceException);
}

TEST_F(AptRepoConfig, DoesNotUseSettingsAsFormats) {
  settings.set("package.apt.repo.url", "https://{}/{0}/");
  settings.set("package.apt.repo.channel", "{");

  const auto config = make_config();

  EXPECT_EQ(config.source_list.url, "https://{}/{0}/");
  EXPECT_EQ(config.source_list.channel, "{");
}

TEST_F(AptRepoConfig, RefusesAnInvalidInitWithoutSettings) {
  expect_invalid(static_cast<Init>(2));
}

TEST_F(AptRepoConfig, RefusesAnInvalidInitWithoutAChannel) {
  settings.set("package.apt.repo.url", "https://host/apt/");

  expect_invalid(static_cast<Init>(2));
}

TEST_F(AptRepoConfig, RefusesAnInvalidInitAfterTheSettingsAndBeforeTheArchitectureQuery) {
  expect_invalid(static_cast<Init>(4294967295U));

  EXPECT_THAT(settings.keys(), ElementsAre("package.apt.repo.url", "package.apt.repo.channel"));
  EXPECT_THAT(system->commands(), IsEmpty());
}

TEST_F(AptRepoConfig, GivesAnInvalidInitThePlainDefaultWhenAChannelIsSet) {
  settings.set("package.apt.repo.channel", "testing");

  const auto config = make_config(static_cast<Init>(2));

  EXPECT_EQ(config.source_list.url, "http://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(config.source_list.channel, "testing");
}

TEST_F(AptRepoConfig, AcceptsAnInvalidInitWhenBothSettingsAreThere) {
  settings.set("package.apt.repo.url", "https://host/apt/");
  settings.set("package.apt.repo.channel", "testing");

  const auto config = make_config(static_cast<Init>(2));

  EXPECT_EQ(config.source_list.url, "https://host/apt/");
  EXPECT_EQ(config.source_list.channel, "testing");
}

TEST_F(AptRepoConfig, AsksForTheArchitectureOnceAndKeepsTheAnswerAsItStands) {
  system->on(ARCHITECTURE_QUERY, 0, " arm64\n");

  const auto config = make_config();

  EXPECT_EQ(config.source_list.architecture, " arm64\n");
  EXPECT_THAT(system->commands(), ElementsAre("dpkg-query -f='${Architecture}' -W zant-velmora"));
}

TEST_F(AptRepoConfig, DoesNotLookAtHowTheArchitectureQueryEnded) {
  system->on(ARCHITECTURE_QUERY, 1, "partly");

  EXPECT_EQ(make_config().source_list.architecture, "partly");
}

TEST_F(AptRepoConfig, HasAnEmptyArchitectureWhenTheQueryPrintsNothing) {
  system->on(ARCHITECTURE_QUERY, 1, "");

  EXPECT_EQ(make_config().source_list.architecture, "");
}

TEST_F(AptRepoConfig, LetsAnExceptionOfTheCommandServiceThrough) {
  system->during(ARCHITECTURE_QUERY, [] { throw std::domain_error("no shell"); });

  EXPECT_THROW(make_config(), std::domain_error);
}

TEST_F(AptRepoConfig, DoesNotKeepTheCommandService) {
  const auto config = make_config();

  EXPECT_EQ(system.use_count(), 1);
}

TEST_F(AptRepoConfig, HoldsItsFieldsInAFixedOrder) {
  const auto& [keyring, source_list] = make_config();
  const auto& [keyring_source, keyring_target] = keyring;
  const auto& [source, target, url, channel, architecture] = source_list;

  EXPECT_EQ(keyring_source, "/staging/keyrings/zant-velmora.gpg");
  EXPECT_EQ(keyring_target, "/etc/apt/trusted.gpg.d/zant-velmora.gpg");
  EXPECT_EQ(source, "/staging/config-files/apt/zant-velmora.list");
  EXPECT_EQ(target, "/etc/apt/sources.list.d/zant-velmora.list");
  EXPECT_EQ(url, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(channel, "systemd-production");
  EXPECT_EQ(architecture, "amd64");
  static_assert(std::is_same_v<decltype(keyring_source), const boost::filesystem::path>);
  static_assert(std::is_same_v<decltype(source), const std::string>);
  static_assert(std::is_same_v<decltype(target), const std::string>);
}

}  // namespace
