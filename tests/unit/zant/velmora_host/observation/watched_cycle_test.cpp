#include <zant/velmora_host/observation/cycle_observation.hpp>

#include <support/host_side/debian_host.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

namespace zant::velmora_host {
namespace {

using std::chrono::minutes;

// Does in the middle of its steps what a test wants.
class Scripted_Package : public velmora::Package {
 public:
  bool locked() const override { return on_lock_query(); }
  bool lock() override { return true; }
  bool unlock() override { return on_unlock(); }
  void initialize_repo_if_necessary() override { on_repository(); }
  void initialize_unattended_upgrades_if_necessary() override { on_upgrades(); }

  std::function<bool()> on_lock_query = [] { return false; };
  std::function<bool()> on_unlock = [] { return true; };
  std::function<void()> on_repository = [] {};
  std::function<void()> on_upgrades = [] {};
};

// What the service manager hears of a worker that does not get on depends on what the worker is at.
class WatchedCycle : public ::testing::Test {
 protected:
  WatchedCycle() {
    host_.set("minder.interval", "3600");
    host_.set("minder.command_time_limit", "7200");
    host_.set("minder.command_kill_delay", "60");
    settings_ = std::make_unique<Settings>(host_.settings());
    observation_ = std::make_unique<Cycle_Observation>("run", find_minded_host(*settings_, host_.services),
                                                       host_.services, host_.installed_tree());
    observed_ = observation_->observe(package_);
  }

  bool is_alive_in(minutes time) const {
    return observation_->watch().is_alive(Cycle_Watch::Clock::now() + time);
  }

  // Five minutes, and those that a command, an interval or an installation may take in addition.
  void expect_working() const {
    EXPECT_TRUE(is_alive_in(minutes(4)));
    EXPECT_FALSE(is_alive_in(minutes(6)));
  }
  void expect_command() const {
    EXPECT_TRUE(is_alive_in(minutes(125)));
    EXPECT_FALSE(is_alive_in(minutes(127)));
  }
  void expect_waiting() const {
    EXPECT_TRUE(is_alive_in(minutes(64)));
    EXPECT_FALSE(is_alive_in(minutes(66)));
  }
  void expect_installation() const { EXPECT_TRUE(is_alive_in(minutes(100000))); }

  void run_command(const std::string& command) {
    observation_->services().system->run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  }

  test_support::Debian_Host host_;
  std::shared_ptr<Scripted_Package> package_ = std::make_shared<Scripted_Package>();
  std::unique_ptr<Settings> settings_;
  std::unique_ptr<Cycle_Observation> observation_;
  std::shared_ptr<velmora::Package> observed_;
};

TEST_F(WatchedCycle, BeforeItsFirstStepHasToBegin) {
  expect_working();
}

TEST_F(WatchedCycle, MayTakeOnlyMinutesForAStep) {
  bool was_entered = false;
  package_->on_repository = [&] {
    was_entered = true;
    expect_working();
  };
  observed_->initialize_unattended_upgrades_if_necessary();

  observed_->initialize_repo_if_necessary();

  EXPECT_TRUE(was_entered);
}

TEST_F(WatchedCycle, MayTakeTheTimeLimitForACommand) {
  host_.system->on("apt-get -qq update", 0);
  host_.system->during("apt-get -qq update", [this] { expect_command(); });

  run_command("apt-get -qq update");

  expect_working();
}

TEST_F(WatchedCycle, MayTakeAnyTimeForAnInstallation) {
  const std::string installation =
      "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades";
  host_.system->on(installation, 0);
  host_.system->during(installation, [this] { expect_installation(); });

  run_command(installation);

  expect_working();
}

TEST_F(WatchedCycle, WaitsForItsIntervalAfterTheLastStep) {
  observed_->initialize_repo_if_necessary();
  expect_working();

  observed_->initialize_unattended_upgrades_if_necessary();

  expect_waiting();
}

TEST_F(WatchedCycle, WaitsForItsIntervalAfterTheStepThatFailed) {
  const auto fail = []() -> bool { throw std::runtime_error("failed"); };
  package_->on_repository = fail;
  EXPECT_THROW(observed_->initialize_repo_if_necessary(), std::runtime_error);
  expect_waiting();

  package_->on_repository = [] {};
  package_->on_lock_query = fail;
  observed_->initialize_repo_if_necessary();
  EXPECT_THROW(observed_->locked(), std::runtime_error);
  expect_waiting();

  package_->on_unlock = fail;
  observed_->initialize_repo_if_necessary();
  EXPECT_THROW(observed_->unlock(), std::runtime_error);
  expect_waiting();

  package_->on_upgrades = [] { throw 7; };
  observed_->initialize_repo_if_necessary();
  EXPECT_THROW(observed_->initialize_unattended_upgrades_if_necessary(), int);
  expect_waiting();
}

}  // namespace
}  // namespace zant::velmora_host
