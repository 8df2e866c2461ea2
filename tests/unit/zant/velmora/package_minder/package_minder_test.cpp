#include <zant/velmora/package_minder/package_minder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;
using testing::Throw;

namespace {

static_assert(!std::is_polymorphic_v<Package_Minder>);

class Mock_Package : public Package {
 public:
  MOCK_METHOD(bool, locked, (), (const, override));
  MOCK_METHOD(bool, lock, (), (override));
  MOCK_METHOD(bool, unlock, (), (override));
  MOCK_METHOD(void, initialize_repo_if_necessary, (), (override));
  MOCK_METHOD(void, initialize_unattended_upgrades_if_necessary, (), (override));
};

class PackageMinder : public testing::Test {
 protected:
  std::shared_ptr<StrictMock<Mock_Package>> package = std::make_shared<StrictMock<Mock_Package>>();
  Package_Minder minder{package};
  InSequence in_this_order;
};

TEST_F(PackageMinder, KeepsThePackageAndAsksNothingOfItAtConstruction) {
  EXPECT_EQ(package.use_count(), 2);
}

TEST_F(PackageMinder, LeavesAPackageThatIsNotLockedAlone) {
  EXPECT_CALL(*package, initialize_repo_if_necessary());
  EXPECT_CALL(*package, locked()).WillOnce(Return(false));

  minder.update_package_lock_if_necessary();
}

TEST_F(PackageMinder, ReleasesALockedPackageAfterTheRepositoryIsSetUp) {
  EXPECT_CALL(*package, initialize_repo_if_necessary());
  EXPECT_CALL(*package, locked()).WillOnce(Return(true));
  EXPECT_CALL(*package, unlock()).WillOnce(Return(true));

  minder.update_package_lock_if_necessary();
}

TEST_F(PackageMinder, IgnoresAReleaseThatFailed) {
  EXPECT_CALL(*package, initialize_repo_if_necessary());
  EXPECT_CALL(*package, locked()).WillOnce(Return(true));
  EXPECT_CALL(*package, unlock()).WillOnce(Return(false));

  EXPECT_NO_THROW(minder.update_package_lock_if_necessary());
}

TEST_F(PackageMinder, AsksTheHostAfreshInEveryCall) {
  for (const bool locked : {false, true}) {
    EXPECT_CALL(*package, initialize_repo_if_necessary());
    EXPECT_CALL(*package, locked()).WillOnce(Return(locked));
  }
  EXPECT_CALL(*package, unlock()).WillOnce(Return(true));

  minder.update_package_lock_if_necessary();
  minder.update_package_lock_if_necessary();
}

TEST_F(PackageMinder, DoesNotAskForALockWhenTheRepositoryFails) {
  const auto failure = std::make_exception_ptr(std::runtime_error("no repository"));
  EXPECT_CALL(*package, initialize_repo_if_necessary()).WillOnce([&failure] {
    std::rethrow_exception(failure);
  });

  try {
    minder.update_package_lock_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

TEST_F(PackageMinder, ReleasesNothingWhenItCannotBeAskedForALock) {
  EXPECT_CALL(*package, initialize_repo_if_necessary());
  EXPECT_CALL(*package, locked()).WillOnce(Throw(std::runtime_error("cannot ask")));

  EXPECT_THROW(minder.update_package_lock_if_necessary(), std::runtime_error);
}

TEST_F(PackageMinder, LetsTheExceptionOfAReleaseThrough) {
  EXPECT_CALL(*package, initialize_repo_if_necessary());
  EXPECT_CALL(*package, locked()).WillOnce(Return(true));
  EXPECT_CALL(*package, unlock()).WillOnce(Throw(std::runtime_error("cannot release")));

  EXPECT_THROW(minder.update_package_lock_if_necessary(), std::runtime_error);
}

TEST_F(PackageMinder, SetsAutomaticUpgradesUpWithOneCall) {
  EXPECT_CALL(*package, initialize_unattended_upgrades_if_necessary());

  minder.initialize_unattended_upgrades_if_necessary();
}

TEST_F(PackageMinder, LetsTheExceptionOfTheUpgradesSetupThrough) {
  EXPECT_CALL(*package, initialize_unattended_upgrades_if_necessary())
      .WillOnce(Throw(std::runtime_error("no upgrades")));

  EXPECT_THROW(minder.initialize_unattended_upgrades_if_necessary(), std::runtime_error);
}

}  // namespace
