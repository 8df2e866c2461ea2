#include <zant/velmora/apt/apt_package.hpp>

#include <support/mock_package_config.hpp>
#include <support/recorded_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <type_traits>

using namespace zant::velmora;
using test_support::Mock_Package_Config;
using test_support::Recorded_Host;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrictMock;

namespace {

static_assert(std::is_base_of_v<Package, APT_Package>);

constexpr const char* HOLD_QUERY = "apt-mark showhold | grep -q ^zant-velmora$";
constexpr const char* HOLD = "apt-mark -qq hold zant-velmora";
constexpr const char* RELEASE = "apt-mark -qq unhold zant-velmora";

class AptPackage : public testing::Test {
 protected:
  Recorded_Host host;
  std::shared_ptr<StrictMock<Mock_Package_Config>> config =
      std::make_shared<StrictMock<Mock_Package_Config>>();
  APT_Package package{host.system, config};
};

class AptHoldState : public AptPackage {};

TEST_F(AptPackage, KeepsItsServicesAndDoesNothingAtConstruction) {
  EXPECT_EQ(host.system.use_count(), 2);
  EXPECT_EQ(config.use_count(), 2);
  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptPackage, ForwardsTheRepositorysSetup) {
  EXPECT_CALL(*config, setup_repo_if_necessary());

  package.initialize_repo_if_necessary();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptPackage, ForwardsTheSetupOfAutomaticUpgrades) {
  EXPECT_CALL(*config, setup_unattended_upgrades_if_necessary());

  package.initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(AptPackage, PassesTheVeryExceptionOfTheRepositorysSetupOn) {
  const auto failure = std::make_exception_ptr(std::runtime_error("no repository"));
  EXPECT_CALL(*config, setup_repo_if_necessary()).WillOnce([&failure] { std::rethrow_exception(failure); });

  try {
    package.initialize_repo_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

TEST_F(AptPackage, PassesTheVeryExceptionOfTheUpgradesSetupOn) {
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

TEST_F(AptHoldState, IsLockedWhenGrepFindsThePackageAmongTheHolds) {
  host.system->on(HOLD_QUERY, 0);

  EXPECT_TRUE(package.locked());

  EXPECT_THAT(host.take_journal(), ElementsAre("run apt-mark showhold | grep -q ^zant-velmora$"));
}

TEST_F(AptHoldState, IsNotLockedWhenGrepFindsNothing) {
  // Also for a held zant-velmora-extras: the pattern is anchored at both ends.
  host.system->on(HOLD_QUERY, 1);

  EXPECT_FALSE(package.locked());

  EXPECT_THAT(host.take_journal(), ElementsAre("run apt-mark showhold | grep -q ^zant-velmora$"));
}

TEST_F(AptHoldState, IsNotLockedWhenAptMarkCannotBeAsked) {
  host.system->on(HOLD_QUERY, 127);

  EXPECT_FALSE(package.locked());
}

TEST_F(AptHoldState, IsAskedWithoutARecordHoweverTheQueryEnds) {
  for (const int exit_code : {0, 1, 127}) {
    host.system->on(HOLD_QUERY, exit_code);
    package.locked();
  }

  EXPECT_THAT(host.log.records(), IsEmpty());
}

TEST_F(AptHoldState, IsAskedAfreshEveryTime) {
  host.system->once(HOLD_QUERY, 0);
  host.system->once(HOLD_QUERY, 1);

  EXPECT_TRUE(package.locked());
  EXPECT_FALSE(package.locked());
}

TEST_F(AptHoldState, LockHoldsThePackageAndSaysSo) {
  host.system->on(HOLD, 0);

  EXPECT_TRUE(package.lock());

  EXPECT_THAT(host.take_journal(), ElementsAre("run apt-mark -qq hold zant-velmora",
                                               "log 3 APT_Package: Set zant-velmora package to \"hold\""));
}

TEST_F(AptHoldState, LockSaysSoAgainForAPackageThatIsHeldAlready) {
  host.system->on(HOLD, 0);

  EXPECT_TRUE(package.lock());
  EXPECT_TRUE(package.lock());

  EXPECT_THAT(host.log.messages(3),
              ElementsAre("Set zant-velmora package to \"hold\"", "Set zant-velmora package to \"hold\""));
}

TEST_F(AptHoldState, LockReportsFalseWhenAptMarkFails) {
  host.system->on(HOLD, 100);

  EXPECT_FALSE(package.lock());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run apt-mark -qq hold zant-velmora",
                          "log 5 APT_Package: Failed to set zant-velmora package to \"hold\""));
}

TEST_F(AptHoldState, UnlockReleasesThePackageAndSaysSo) {
  host.system->on(RELEASE, 0);

  EXPECT_TRUE(package.unlock());

  EXPECT_THAT(host.take_journal(), ElementsAre("run apt-mark -qq unhold zant-velmora",
                                               "log 3 APT_Package: Set zant-velmora package to \"unhold\""));
}

TEST_F(AptHoldState, UnlockReportsFalseWhenAptMarkIsMissing) {
  host.system->on(RELEASE, 127);

  EXPECT_FALSE(package.unlock());

  EXPECT_THAT(host.take_journal(),
              ElementsAre("run apt-mark -qq unhold zant-velmora",
                          "log 5 APT_Package: Failed to set zant-velmora package to \"unhold\""));
}

TEST_F(AptHoldState, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const char* command : {HOLD_QUERY, HOLD, RELEASE}) {
    host.system->on(command, 0);
    host.system->during(command, [] { throw std::domain_error("no shell"); });
  }

  EXPECT_THROW(package.locked(), std::domain_error);
  EXPECT_THROW(package.lock(), std::domain_error);
  EXPECT_THROW(package.unlock(), std::domain_error);
}

}  // namespace
