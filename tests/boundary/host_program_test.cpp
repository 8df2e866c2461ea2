#include <support/captured_log.hpp>
#include <support/recorded_settings.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_package.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>
#include <zant/velmora/upgrade_timer/linux_upgrade_timer_manager.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

// What a program that embeds the library does: its own services and packages over the library's interfaces,
// errors caught on the other side, records read by its own sink.

using namespace zant::velmora;
using test_support::Captured_Log;
using test_support::Captured_Record;
using test_support::Recorded_Settings;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

class Failing_System : public System {
 public:
  Command_Result run_command(const std::string&, bool) override { return {"", 1}; }
};

/// The file system of a Debian host on which every other file exists and nothing can be written.
class Read_Only_Filesystem : public Filesystem {
 public:
  bool remove(const Path&) override { return false; }
  void remove(const std::vector<Path>&) override {}
  void remove_all(const Path&) override {}
  bool exists(const Path&) override { return true; }
  bool is_empty(const Path&) override { return false; }
  std::vector<Path> list_files(const Path&, const std::string&) override { return {}; }
  bool copy_file(const Path&, const Path&, int) override { return false; }
  std::size_t copy_files(const std::vector<Path>&, const Path&, int) override { return 0; }
  std::string read_file(const Path&, int) override { return "ID=debian"; }
  bool write_file(const Path&, const std::string&, int) override { return false; }
  bool create_directories(const Path&) override { return false; }
  bool files_equal(const Path&, const Path&) override { return false; }
};

class Idle_Timer : public Upgrade_Timer_Command_Runner {
 public:
  bool start_timer() const override { return true; }
  bool timer_needs_reload() const override { return false; }
  bool reload_timer() const override { return true; }
  bool timer_is_running() const override { return true; }
};

class Own_Package : public Package {
 public:
  bool locked() const override { return false; }
  bool lock() override { return true; }
  bool unlock() override { return true; }
  void initialize_repo_if_necessary() override {
    throw Internal_Error<std::runtime_error>("an error made by the host", 17);
  }
  void initialize_unattended_upgrades_if_necessary() override {}
};

class HostProgram : public testing::Test {
 protected:
  // An error of the library is to be caught by each of these.
  template <typename Error, typename Standard, typename Tag, typename Action>
  void expect_caught_by_tag_and_class(Action action, const std::string& message, int code) {
    EXPECT_THROW(action(), Error);
    EXPECT_THROW(action(), Standard);
    EXPECT_THROW(action(), std::exception);
    EXPECT_THROW(action(), Tag);
    EXPECT_THROW(action(), Velmora_Error<std::exception>);
    try {
      action();
    } catch (const Error& error) {
      EXPECT_EQ(error.what(), message);
      EXPECT_EQ(error.code(), code);
    }
  }

  Captured_Log log;
  Recorded_Settings settings;
  std::shared_ptr<System> system = std::make_shared<Failing_System>();
  std::shared_ptr<Filesystem> files = std::make_shared<Read_Only_Filesystem>();
};

TEST_F(HostProgram, CatchesARequestThatCannotBeServed) {
  const Linux_Package_Facilitator facilitator(files, system, settings, "/staging");

  expect_caught_by_tag_and_class<Backend_Error<std::runtime_error>, std::runtime_error,
                                 Backend_Error<std::exception>>(
      [&facilitator] { facilitator.create_package(nullptr); }, "Invalid package configuration", 204800);
}

TEST_F(HostProgram, CatchesAFailedStepOnTheHost) {
  Linux_Upgrade_Timer_Manager manager(files, std::make_shared<Idle_Timer>(), {});

  expect_caught_by_tag_and_class<Internal_Error<std::runtime_error>, std::runtime_error,
                                 Internal_Error<std::exception>>(
      [&manager] { manager.initialize_timer(); }, "Failed to install upgrade timer overrides", -2);
}

TEST_F(HostProgram, CatchesABrokenInvariant) {
  expect_caught_by_tag_and_class<Internal_Error<std::logic_error>, std::logic_error,
                                 Internal_Error<std::exception>>(
      [this] { APT_Repo_Config(system, settings, "/staging", static_cast<Init>(2)); }, "Invalid init value",
      -2);
}

TEST_F(HostProgram, HasAnErrorOfItsOwnPassThroughTheLibrary) {
  Package_Minder minder(std::make_shared<Own_Package>());

  expect_caught_by_tag_and_class<Internal_Error<std::runtime_error>, std::runtime_error,
                                 Internal_Error<std::exception>>(
      [&minder] { minder.update_package_lock_if_necessary(); }, "an error made by the host", 17);
}

TEST_F(HostProgram, HasAnErrorOfItsOwnLoggedByTheWorker) {
  const Package_Minder_Thread worker(std::make_shared<Package_Minder>(std::make_shared<Own_Package>()), 3600);

  log.wait_for("Encountered error: an error made by the host");

  EXPECT_THAT(log.messages(5), ElementsAre("Encountered error: an error made by the host"));
}

// Each time at another moment of the worker's way into its wait.
TEST_F(HostProgram, CanStopAWorkerAtAnyTime) {
  const auto minder = std::make_shared<Package_Minder>(std::make_shared<Own_Package>());
  for (int round = 1; round <= 500; ++round) {
    const Package_Minder_Thread worker(minder, 3600);
    log.wait_for("Worker is going into a waiting state", static_cast<std::size_t>(round));
  }

  EXPECT_THAT(log.messages(1), SizeIs(1000));
}

TEST_F(HostProgram, ReadsTheSeverityAndChannelOfTheLibrarysRecords) {
  APT_Package package(system, nullptr);

  package.lock();

  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{5, "APT_Package",
                                                         "Failed to set zant-velmora package to \"hold\""}));
}

TEST_F(HostProgram, SeesTheLibrarysConstants) {
  EXPECT_EQ(APT_Constants::HOLD_QUERY, "apt-mark showhold | grep -q ^zant-velmora$");
}

}  // namespace
