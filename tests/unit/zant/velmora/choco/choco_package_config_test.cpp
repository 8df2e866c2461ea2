#include <zant/velmora/choco/choco_package_config.hpp>

#include <support/captured_log.hpp>
#include <support/mock_choco_exe.hpp>
#include <support/recorded_settings.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::StrictMock;
using testing::Throw;

namespace {

class Mock_Scheduler : public Upgrade_Task_Scheduler {
 public:
  MOCK_METHOD(bool, create_task, (), (override));
  MOCK_METHOD(bool, delete_task, (), (override));
};

class ChocoPackageConfig : public testing::Test {
 protected:
  ChocoPackageConfig() { settings.set("package.choco.repo.source_location", "https://nuget.test/"); }

  Choco_Package_Config config(bool automatic_upgrades = true) const {
    return Choco_Package_Config(choco, Choco_Repo_Config(settings),
                                Choco_Unattended_Upgrade_Config(scheduler, automatic_upgrades));
  }

  std::shared_ptr<StrictMock<Mock_Choco_Exe>> choco = std::make_shared<StrictMock<Mock_Choco_Exe>>();
  std::shared_ptr<StrictMock<Mock_Scheduler>> scheduler = std::make_shared<StrictMock<Mock_Scheduler>>();
  Recorded_Settings settings;
  InSequence in_this_order;
};

TEST_F(ChocoPackageConfig, SharesItsWrapperAndItsSchedulerAndAsksNothingOfThemAtConstruction) {
  const auto unused = config();

  EXPECT_EQ(choco.use_count(), 2);
  EXPECT_EQ(scheduler.use_count(), 2);
}

TEST_F(ChocoPackageConfig, IsOfTheChocolateyFamily) {
  EXPECT_EQ(static_cast<unsigned>(config().type()), 3U);
  EXPECT_EQ(static_cast<unsigned>(config(false).type()), 3U);
}

TEST_F(ChocoPackageConfig, KeepsACopyOfTheSettingsItWasGiven) {
  Choco_Repo_Config repo_config(settings);
  Choco_Unattended_Upgrade_Config unattended_upgrade_config(scheduler, false);
  Choco_Package_Config config(choco, repo_config, unattended_upgrade_config);
  repo_config.source_location = "https://changed.test/";
  unattended_upgrade_config.enabled = true;

  EXPECT_CALL(*choco, add_repo("https://nuget.test/")).WillOnce(Return(true));
  config.setup_repo_if_necessary();
  config.setup_unattended_upgrades_if_necessary();
}

TEST_F(ChocoPackageConfig, SetsTheRepositoryUpWithTheLocationOfTheSettings) {
  EXPECT_CALL(*choco, add_repo("https://nuget.test/")).WillOnce(Return(true));

  config().setup_repo_if_necessary();
}

TEST_F(ChocoPackageConfig, ThrowsNothingWhenTheSourceCannotBeAdded) {
  EXPECT_CALL(*choco, add_repo("https://nuget.test/")).WillOnce(Return(false));

  EXPECT_NO_THROW(config().setup_repo_if_necessary());
}

TEST_F(ChocoPackageConfig, CreatesTheTaskWhenAutomaticUpgradesAreWanted) {
  EXPECT_CALL(*scheduler, create_task()).WillOnce(Return(true));

  config(true).setup_unattended_upgrades_if_necessary();
}

TEST_F(ChocoPackageConfig, ThrowsNothingWhenTheTaskCannotBeCreated) {
  EXPECT_CALL(*scheduler, create_task()).WillOnce(Return(false));

  EXPECT_NO_THROW(config(true).setup_unattended_upgrades_if_necessary());
}

TEST_F(ChocoPackageConfig, CreatesNoTaskWhenAutomaticUpgradesAreNotWanted) {
  config(false).setup_unattended_upgrades_if_necessary();
}

TEST_F(ChocoPackageConfig, DeletesTheTaskWhetherOrNotAutomaticUpgradesAreWanted) {
  EXPECT_CALL(*scheduler, delete_task()).Times(2).WillRepeatedly(Return(true));

  config(true).purge_unattended_upgrade_configuration();
  config(false).purge_unattended_upgrade_configuration();
}

TEST_F(ChocoPackageConfig, ThrowsNothingWhenTheTaskCannotBeDeleted) {
  EXPECT_CALL(*scheduler, delete_task()).WillOnce(Return(false));

  EXPECT_NO_THROW(config().purge_unattended_upgrade_configuration());
}

TEST_F(ChocoPackageConfig, PurgesTheSourceThenTheCacheThenTheTask) {
  EXPECT_CALL(*choco, remove_repo()).WillOnce(Return(true));
  EXPECT_CALL(*choco, clear_http_cache());
  EXPECT_CALL(*scheduler, delete_task()).WillOnce(Return(true));

  config().purge_all_configurations();
}

TEST_F(ChocoPackageConfig, StillDeletesTheTaskWhenTheSourceCannotBeRemoved) {
  EXPECT_CALL(*choco, remove_repo()).WillOnce(Return(false));
  EXPECT_CALL(*choco, clear_http_cache());
  EXPECT_CALL(*scheduler, delete_task()).WillOnce(Return(false));

  EXPECT_NO_THROW(config(false).purge_all_configurations());
}

TEST_F(ChocoPackageConfig, PurgesTheTaskAsADerivedClassDoes) {
  class Derived : public Choco_Package_Config {
   public:
    using Choco_Package_Config::Choco_Package_Config;
    void purge_unattended_upgrade_configuration() override { called = true; }
    bool called = false;
  };
  EXPECT_CALL(*choco, remove_repo()).WillOnce(Return(true));
  EXPECT_CALL(*choco, clear_http_cache());
  Derived derived(choco, Choco_Repo_Config(settings), Choco_Unattended_Upgrade_Config(scheduler, true));

  derived.purge_all_configurations();

  EXPECT_TRUE(derived.called);
}

TEST_F(ChocoPackageConfig, LetsTheExceptionOfTheCommandServiceThrough) {
  EXPECT_CALL(*choco, remove_repo()).WillOnce(Throw(std::runtime_error("no shell")));

  EXPECT_THROW(config().purge_all_configurations(), std::runtime_error);
}

TEST_F(ChocoPackageConfig, LogsNothingOfItsOwn) {
  const Captured_Log log;
  EXPECT_CALL(*choco, add_repo("https://nuget.test/")).WillOnce(Return(false));
  EXPECT_CALL(*scheduler, create_task()).WillOnce(Return(false));
  EXPECT_CALL(*choco, remove_repo()).WillOnce(Return(false));
  EXPECT_CALL(*choco, clear_http_cache());
  EXPECT_CALL(*scheduler, delete_task()).WillOnce(Return(false));
  auto failing = config();

  failing.setup_repo_if_necessary();
  failing.setup_unattended_upgrades_if_necessary();
  failing.purge_all_configurations();

  EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
