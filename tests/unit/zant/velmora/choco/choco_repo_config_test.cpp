#include <zant/velmora/choco/choco_repo_config.hpp>

#include <support/recorded_settings.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;

namespace {

class ChocoRepoConfig : public testing::Test {
 protected:
  Recorded_Settings settings;
};

static_assert(!std::is_convertible_v<const Poco::Util::LayeredConfiguration&, Choco_Repo_Config>,
              "settings do not turn into a record by themselves");

TEST_F(ChocoRepoConfig, FillsTheDefaultLocationWithTheProductionChannel) {
  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "https://production.choco.velmora.example/v3/index.json");
  EXPECT_THAT(settings.keys(),
              ElementsAre("package.choco.repo.source_location", "package.choco.repo.channel"));
}

TEST_F(ChocoRepoConfig, FillsTheDefaultLocationWithTheChannelThatIsSet) {
  settings.set("package.choco.repo.channel", "testing");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "https://testing.choco.velmora.example/v3/index.json");
}

TEST_F(ChocoRepoConfig, TakesALocationThatIsSetAsItStands) {
  settings.set("package.choco.repo.source_location", " C:\\feeds\\{} {0} %s ");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, " C:\\feeds\\{} {0} %s ");
}

TEST_F(ChocoRepoConfig, DoesNotLookAtTheChannelWhenALocationIsSet) {
  settings.set("package.choco.repo.source_location", "https://nuget.test/index.json");
  settings.set("package.choco.repo.channel", "testing");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "https://nuget.test/index.json");
  EXPECT_THAT(settings.keys(), ElementsAre("package.choco.repo.source_location"));
}

TEST_F(ChocoRepoConfig, TakesAnEmptyLocationForOneThatIsSet) {
  settings.set("package.choco.repo.source_location", "");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "");
}

TEST_F(ChocoRepoConfig, TakesAChannelThatLooksLikeAFormatAsItStands) {
  settings.set("package.choco.repo.channel", "{}");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "https://{}.choco.velmora.example/v3/index.json");
}

TEST_F(ChocoRepoConfig, ExpandsReferencesToOtherSettings) {
  settings.set("site.stage", "testing");
  settings.set("package.choco.repo.channel", "${site.stage}");

  const Choco_Repo_Config config(settings);

  EXPECT_EQ(config.source_location, "https://testing.choco.velmora.example/v3/index.json");
}

TEST_F(ChocoRepoConfig, LetsTheExceptionOfASettingThatRefersToItselfThrough) {
  settings.set("package.choco.repo.channel", "${package.choco.repo.channel}");

  EXPECT_THROW(Choco_Repo_Config{settings}, Poco::CircularReferenceException);
}

}  // namespace
