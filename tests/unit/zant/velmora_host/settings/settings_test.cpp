#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using zant::logging::severity_level;

class SettingsTest : public ::testing::Test {
 protected:
  SettingsTest() { sources_.file = directory_.path() / "package-minder.properties"; }

  void given_file(const std::string& text) const {
    std::ofstream(sources_.file.string(), std::ios::binary) << text;
  }
  void given_override(const std::string& key, const std::string& value) {
    sources_.overrides.emplace_back(key, value);
  }
  std::string file() const { return sources_.file.string(); }

  std::vector<std::string> refusals() const {
    try {
      const Settings settings(sources_);
    } catch (const Refusal& refusal) {
      EXPECT_EQ(refusal.reason(), Refusal_Reason::BAD_SETTINGS);
      return refusal.messages();
    }
    return {};
  }

  Temporary_Directory directory_;
  Settings_Sources sources_;
};

TEST_F(SettingsTest, HaveDefaultsWithoutAFile) {
  const Settings settings(sources_);

  EXPECT_EQ(settings.interval(), std::chrono::seconds(3600));
  EXPECT_TRUE(settings.automatic_upgrades());
  EXPECT_FALSE(settings.purge_on_removal());
  EXPECT_TRUE(
      boost::algorithm::ends_with(settings.staging_directory().string(), "/share/package-minder/staging"));
  EXPECT_TRUE(boost::algorithm::ends_with(settings.state_directory().string(), "/lib/package-minder"));
  EXPECT_EQ(settings.command_time_limit(), std::chrono::seconds(1800));
  EXPECT_EQ(settings.command_kill_delay(), std::chrono::seconds(10));
  EXPECT_EQ(settings.log_level(), severity_level::info);
  EXPECT_EQ(settings.log_format(), Log_Format::AUTO);
}

TEST_F(SettingsTest, LeaveTheLibrarysKeysUnsetWithoutAFile) {
  const Settings settings(sources_);

  EXPECT_FALSE(settings.configuration().has("package.apt.repo.url"));
}

TEST_F(SettingsTest, OfTheFileWinOverTheDefaults) {
  given_file(
      "# a comment\n"
      "minder.interval = 60\n"
      "minder.automatic_upgrades=no\n"
      "minder.purge_on_removal = yes\n"
      "minder.staging_directory: /srv/staging\n"
      "minder.state_directory = /srv/state\n"
      "minder.command_time_limit = 100\n"
      "minder.command_kill_delay = 5\n"
      "minder.log.level = debug\n"
      "minder.log.format = journal\n"
      "package.apt.repo.channel = beta\n");

  const Settings settings(sources_);

  EXPECT_EQ(settings.interval(), std::chrono::seconds(60));
  EXPECT_FALSE(settings.automatic_upgrades());
  EXPECT_TRUE(settings.purge_on_removal());
  EXPECT_EQ(settings.staging_directory(), "/srv/staging");
  EXPECT_EQ(settings.state_directory(), "/srv/state");
  EXPECT_EQ(settings.command_time_limit(), std::chrono::seconds(100));
  EXPECT_EQ(settings.command_kill_delay(), std::chrono::seconds(5));
  EXPECT_EQ(settings.log_level(), severity_level::debug);
  EXPECT_EQ(settings.log_format(), Log_Format::JOURNAL);
  EXPECT_EQ(settings.configuration().getString("package.apt.repo.channel"), "beta");
}

TEST_F(SettingsTest, OfTheCommandLineWinOverTheFileAndLaterOnesOverEarlierOnes) {
  given_file("minder.interval = 60\nminder.log.format = journal\n");
  given_override("minder.interval", "70");
  given_override("minder.interval", "80");

  const Settings settings(sources_);

  EXPECT_EQ(settings.interval(), std::chrono::seconds(80));
  EXPECT_EQ(settings.log_format(), Log_Format::JOURNAL);
}

TEST_F(SettingsTest, MayReferToEachOtherAndToKeysOfTheAdministratorsOwn) {
  given_file("mirror = https://mirror.example\npackage.apt.repo.url = ${mirror}/velmora/\n");

  const Settings settings(sources_);

  EXPECT_EQ(settings.configuration().getString("package.apt.repo.url"), "https://mirror.example/velmora/");
}

TEST_F(SettingsTest, KeepReferencesThatAreOthersBusiness) {
  given_override("package.apt.repo.origins_pattern", "origin=Debian,codename=${distro_codename}");

  const Settings settings(sources_);

  EXPECT_EQ(settings.configuration().getString("package.apt.repo.origins_pattern"),
            "origin=Debian,codename=${distro_codename}");
}

TEST_F(SettingsTest, ThatReferToThemselvesAreRefused) {
  given_file("package.apt.repo.url = https://${package.apt.repo.url}/\n");

  EXPECT_THAT(
      refusals(),
      ElementsAre(file() + ": package.apt.repo.url refers to itself; a reference ${...} names another key, "
                           "and never in a circle"));
}

TEST_F(SettingsTest, AreRefusedEachWithItsOwnMessage) {
  given_file("minder.interval = soon\nminder.log.level = info\nminder.command_kill_delay = 0\n");
  given_override("minder.log.format", "colourful");

  EXPECT_THAT(refusals(),
              ElementsAre("--set: minder.log.format is \"colourful\"; must be one of auto, terminal, journal",
                          file() + ": minder.command_kill_delay is \"0\"; must be a whole number of seconds "
                                   "from 1 to 600",
                          file() + ": minder.interval is \"soon\"; must be a whole number of seconds from 1 "
                                   "to 3600"));
}

TEST_F(SettingsTest, ThatAreOverriddenAreNotJudged) {
  given_file("minder.interval = soon\n");
  given_override("minder.interval", "60");

  EXPECT_THAT(refusals(), ElementsAre());
}

TEST_F(SettingsTest, ThatNobodyKnowsAreRefused) {
  given_file("minder.log.colour = blue\n");
  given_override("package.apt", "x");

  const auto messages = refusals();

  ASSERT_EQ(messages.size(), 2U);
  EXPECT_THAT(messages[0],
              StartsWith("--set: unknown key package.apt; known keys are package.apt.repo.url, "));
  EXPECT_EQ(messages[1],
            file() + ": unknown key minder.log.colour; known keys are minder.log.level, minder.log.format");
}

TEST_F(SettingsTest, WithStrangeKeysAreTheAdministratorsOwn) {
  given_file("= nothing\n.package.url = x\nour..mirror = y\nminder.interval = 60\n");

  EXPECT_EQ(Settings(sources_).interval(), std::chrono::seconds(60));
}

TEST_F(SettingsTest, WithAKeyOfManyLevelsAreRefused) {
  std::string key = "package";
  for (int level = 0; level < 100000; ++level) {
    key += ".a";
  }
  given_file(key + " = x\n");

  ASSERT_EQ(refusals().size(), 1U);
  EXPECT_THAT(refusals()[0], StartsWith(file() + ": unknown key package.a.a."));
  EXPECT_LT(refusals()[0].size(), 2000U);
}

TEST_F(SettingsTest, WithoutASeparatorAreRefusedAsUnknownKeys) {
  given_file("minder.log.level debug\n");

  EXPECT_THAT(refusals(),
              ElementsAre(file() + ": unknown key minder.log.level debug; known keys are minder.log.level, "
                                   "minder.log.format"));
}

TEST_F(SettingsTest, ShowControlCharactersOfABadValueEscaped) {
  given_override("package.dnf.repo.throttle", "1\n2");

  EXPECT_THAT(refusals(),
              ElementsAre("--set: package.dnf.repo.throttle is \"1\\n2\"; must be a speed such as 500k, or a "
                          "percentage"));
}

TEST_F(SettingsTest, OfAbsurdLengthAreRefused) {
  given_override("package.apt.repo.url", "https://" + std::string(1000000, 'x'));

  ASSERT_EQ(refusals().size(), 1U);
  EXPECT_LT(refusals()[0].size(), 400U);
}

TEST_F(SettingsTest, OfAFileThatSomebodyNamedAndThatIsMissingAreRefused) {
  sources_.file_is_required = true;

  EXPECT_THAT(
      refusals(),
      ElementsAre(file() +
                  ": cannot be read: No such file or directory; it must be readable by the administrator"));
}

TEST_F(SettingsTest, OfADirectoryAreRefused) {
  boost::filesystem::create_directory(sources_.file);

  EXPECT_THAT(refusals(), ElementsAre(file() + ": is a directory; name a settings file"));
}

TEST_F(SettingsTest, OfABinaryFileAreRefused) {
  given_file(
      std::string("\x7f"
                  "ELF\0\0",
                  6));

  EXPECT_THAT(refusals(), ElementsAre(file() + ": is not a text file; it consists of lines KEY = VALUE"));
}

TEST_F(SettingsTest, OfAnEmptyFileAreTheDefaults) {
  given_file("");

  EXPECT_EQ(Settings(sources_).interval(), std::chrono::seconds(3600));
}

}  // namespace
}  // namespace zant::velmora_host
