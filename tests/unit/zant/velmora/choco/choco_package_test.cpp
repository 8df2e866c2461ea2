#include <zant/velmora/choco/choco_package.hpp>

#include <support/captured_log.hpp>
#include <support/mock_choco_exe.hpp>
#include <support/mock_package_config.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::IsEmpty;
using testing::Return;
using testing::StrictMock;

namespace {

static_assert(std::is_base_of_v<Package, Choco_Package>);

class ChocoPackage : public testing::TestWithParam<bool> {
 protected:
  std::shared_ptr<StrictMock<Mock_Choco_Exe>> choco = std::make_shared<StrictMock<Mock_Choco_Exe>>();
  std::shared_ptr<StrictMock<Mock_Package_Config>> config =
      std::make_shared<StrictMock<Mock_Package_Config>>();
  Captured_Log log;
  Choco_Package package{choco, config};
};

using ChocoPackageResult = ChocoPackage;

TEST_F(ChocoPackage, KeepsWrapperAndConfigurationAndAsksNothingOfThemAtConstruction) {
  EXPECT_EQ(choco.use_count(), 2);
  EXPECT_EQ(config.use_count(), 2);
}

TEST_P(ChocoPackageResult, IsLockedWhenThePackageIsPinned) {
  EXPECT_CALL(*choco, package_is_pinned()).WillOnce(Return(GetParam()));

  const Choco_Package& unchanging = package;

  EXPECT_EQ(unchanging.locked(), GetParam());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(ChocoPackageResult, LocksByPinning) {
  EXPECT_CALL(*choco, pin_package()).WillOnce(Return(GetParam()));

  EXPECT_EQ(package.lock(), GetParam());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(ChocoPackageResult, UnlocksByUnpinning) {
  EXPECT_CALL(*choco, unpin_package()).WillOnce(Return(GetParam()));

  EXPECT_EQ(package.unlock(), GetParam());
  EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Forwarded, ChocoPackageResult, testing::Bool());

TEST_F(ChocoPackage, LeavesTheRepositoryToItsConfiguration) {
  EXPECT_CALL(*config, setup_repo_if_necessary());

  package.initialize_repo_if_necessary();
}

TEST_F(ChocoPackage, LeavesAutomaticUpgradesToItsConfiguration) {
  EXPECT_CALL(*config, setup_unattended_upgrades_if_necessary());

  package.initialize_unattended_upgrades_if_necessary();
}

TEST_F(ChocoPackage, PassesTheVeryExceptionOfTheRepositorysSetupOn) {
  const auto failure = std::make_exception_ptr(std::runtime_error("no repository"));
  EXPECT_CALL(*config, setup_repo_if_necessary()).WillOnce([&failure] { std::rethrow_exception(failure); });

  try {
    package.initialize_repo_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

TEST_F(ChocoPackage, PassesTheVeryExceptionOfTheUpgradesSetupOn) {
  const auto failure = std::make_exception_ptr(std::runtime_error("no upgrades"));
  EXPECT_CALL(*config, setup_unattended_upgrades_if_necessary()).WillOnce([&failure] {
    std::rethrow_exception(failure);
  });

  try {
    package.initialize_unattended_upgrades_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

}  // namespace
