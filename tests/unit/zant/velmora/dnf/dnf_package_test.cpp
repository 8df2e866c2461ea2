#include <zant/velmora/dnf/dnf_package.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>
#include <support/mock_package_config.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrictMock;

namespace {

static_assert(std::is_base_of_v<Package, DNF_Package>);

const std::string PRESENCE = "which dnf &> /dev/null";
const std::string LOCK_QUERY = "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora";
const std::string EXCLUDE =
    "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
    "dnf config-manager --setopt=quorvane.exclude=* --save || "
    "yum-config-manager --setopt=quorvane.exclude=* --save'";
const std::string INCLUDE =
    "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
    "dnf config-manager --setopt=quorvane.exclude= --save || "
    "yum-config-manager --setopt=quorvane.exclude= --save'";

class DnfPackage : public testing::Test {
 protected:
  DnfPackage() { system->on(PRESENCE, 0); }

  // The package on a host that has dnf.
  std::unique_ptr<DNF_Package> make_package() { return std::make_unique<DNF_Package>(system, config); }

  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>();
  std::shared_ptr<StrictMock<Mock_Package_Config>> config =
      std::make_shared<StrictMock<Mock_Package_Config>>();
  Captured_Log log;
};

TEST_F(DnfPackage, OnlyMakesSureAtConstructionThatDnfIsThere) {
  const auto package = make_package();

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(DnfPackage, KeepsItsConfiguration) {
  const auto package = make_package();

  EXPECT_EQ(config.use_count(), 2);
}

TEST_F(DnfPackage, CannotBeMadeOnAHostWithoutDnf) {
  system->on(PRESENCE, 1);

  expect_host_step_failed([this] { make_package(); }, "The DNF package manager is not available");

  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{
                                 4, "DNF_Package",
                                 "The DNF package manager is not available on this system. In order to use "
                                 "the package management feature, DNF must be installed."}));
  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE));
}

TEST_F(DnfPackage, IsNotLockedWhenTheRepositoryShowsThePackage) {
  system->on(LOCK_QUERY, 0);
  const auto package = make_package();

  EXPECT_FALSE(package->locked());

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE, LOCK_QUERY));
}

TEST_F(DnfPackage, IsLockedWhenTheRepositoryDoesNotShowThePackage) {
  system->on(LOCK_QUERY, 1);

  EXPECT_TRUE(make_package()->locked());
}

TEST_F(DnfPackage, IsLockedWhenTheQueryItselfFails) {
  system->on(LOCK_QUERY, 141);

  EXPECT_TRUE(make_package()->locked());
}

TEST_F(DnfPackage, LogsNothingAboutTheQuery) {
  system->once(LOCK_QUERY, 0);
  system->once(LOCK_QUERY, 1);
  const auto package = make_package();

  package->locked();
  package->locked();

  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(DnfPackage, AsksTheHostAfreshInEveryQuery) {
  system->once(LOCK_QUERY, 1);
  system->once(LOCK_QUERY, 0);
  const auto package = make_package();

  EXPECT_TRUE(package->locked());
  EXPECT_FALSE(package->locked());
}

TEST_F(DnfPackage, IsLockedByExcludingTheRepositorysPackages) {
  system->on(EXCLUDE, 0);
  const auto package = make_package();

  EXPECT_TRUE(package->lock());

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE, EXCLUDE));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{
                  3, "DNF_Package", "Set zant-velmora packages to be excluded from automatic upgrades"}));
}

TEST_F(DnfPackage, ReportsALockThatFailed) {
  system->on(EXCLUDE, 127);

  EXPECT_FALSE(make_package()->lock());

  EXPECT_THAT(
      log.records(),
      ElementsAre(Captured_Record{
          5, "DNF_Package", "Failed to set zant-velmora packages to be excluded from automatic upgrades"}));
}

TEST_F(DnfPackage, IsUnlockedByIncludingTheRepositorysPackages) {
  system->on(INCLUDE, 0);
  const auto package = make_package();

  EXPECT_TRUE(package->unlock());

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE, INCLUDE));
  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{
                  3, "DNF_Package", "Set zant-velmora packages to be included with automatic upgrades"}));
}

TEST_F(DnfPackage, ReportsAnUnlockThatFailed) {
  system->on(INCLUDE, 1);

  EXPECT_FALSE(make_package()->unlock());

  EXPECT_THAT(
      log.records(),
      ElementsAre(Captured_Record{
          5, "DNF_Package", "Failed to set zant-velmora packages to be included with automatic upgrades"}));
}

TEST_F(DnfPackage, IsLockedAfterALockThatTookEffect) {
  system->on(LOCK_QUERY, 0);
  system->on(EXCLUDE, 0);
  system->during(EXCLUDE, [this] { system->on(LOCK_QUERY, 1); });
  const auto package = make_package();
  ASSERT_FALSE(package->locked());

  EXPECT_TRUE(package->lock());

  EXPECT_TRUE(package->locked());
}

TEST_F(DnfPackage, IsNotLockedAfterAnUnlockWhileTheRepositoryCanBeReached) {
  system->on(LOCK_QUERY, 1);
  system->on(INCLUDE, 0);
  system->during(INCLUDE, [this] { system->on(LOCK_QUERY, 0); });
  const auto package = make_package();
  ASSERT_TRUE(package->locked());

  EXPECT_TRUE(package->unlock());

  EXPECT_FALSE(package->locked());
}

TEST_F(DnfPackage, StaysLockedAfterAnUnlockWhileTheRepositoryCannotBeReached) {
  system->on(LOCK_QUERY, 1);
  system->on(INCLUDE, 0);
  const auto package = make_package();

  EXPECT_TRUE(package->unlock());

  EXPECT_TRUE(package->locked());
}

TEST_F(DnfPackage, HandsTheSetUpOfTheRepositoryToItsConfiguration) {
  const auto package = make_package();
  EXPECT_CALL(*config, setup_repo_if_necessary());

  package->initialize_repo_if_necessary();

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE));
}

TEST_F(DnfPackage, HandsTheSetUpOfAutomaticUpgradesToItsConfiguration) {
  const auto package = make_package();
  EXPECT_CALL(*config, setup_unattended_upgrades_if_necessary());

  package->initialize_unattended_upgrades_if_necessary();

  EXPECT_THAT(system->commands(), ElementsAre(PRESENCE));
}

TEST_F(DnfPackage, PassesTheVeryExceptionOfTheRepositorysSetupOn) {
  const auto package = make_package();
  const auto failure = std::make_exception_ptr(std::runtime_error("no repository"));
  EXPECT_CALL(*config, setup_repo_if_necessary()).WillOnce([&failure] { std::rethrow_exception(failure); });

  try {
    package->initialize_repo_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

TEST_F(DnfPackage, PassesTheVeryExceptionOfTheUpgradesSetupOn) {
  const auto package = make_package();
  const auto failure = std::make_exception_ptr(std::runtime_error("no upgrades"));
  EXPECT_CALL(*config, setup_unattended_upgrades_if_necessary()).WillOnce([&failure] {
    std::rethrow_exception(failure);
  });

  try {
    package->initialize_unattended_upgrades_if_necessary();
    FAIL() << "nothing was thrown";
  } catch (...) {
    EXPECT_EQ(std::current_exception(), failure) << "another exception object";
  }
}

TEST_F(DnfPackage, LetsAnExceptionOfTheCommandServiceThrough) {
  for (const auto& command : {LOCK_QUERY, EXCLUDE, INCLUDE}) {
    system->on(command, 0);
    system->during(command, [] { throw std::runtime_error("no shell"); });
  }
  const auto package = make_package();

  EXPECT_THROW(package->locked(), std::runtime_error);
  EXPECT_THROW(package->lock(), std::runtime_error);
  EXPECT_THROW(package->unlock(), std::runtime_error);
  EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
