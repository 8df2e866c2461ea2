#include <program/commands/command_table.hpp>
#include <program/exit_status.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/staging/instance_lock.hpp>

#include <support/captured_log.hpp>
#include <support/host_side/debian_host.hpp>
#include <support/host_side/notification_socket.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zant::program {
namespace {

using boost::filesystem::exists;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using velmora::test_support::Captured_Record;

constexpr const char* IS_HELD = "apt-mark showhold | grep -q ^zant-velmora$";
constexpr const char* START_TIMER = "systemctl start apt-daily-upgrade.timer";

class CommandsTest : public ::testing::Test {
 protected:
  CommandsTest() { host_.allow_changes(); }

  int carry_out(const std::string& name, const Invocation& invocation = {}) {
    const Command* const command = find_command(name);
    return std::get<Work>(command->work)(invocation, host_.settings(), host_.services);
  }

  int purge_upgrades() {
    Invocation invocation;
    invocation.upgrades_only = true;
    return carry_out("purge", invocation);
  }

  int purge_on_removal() {
    Invocation invocation;
    invocation.on_removal = true;
    return carry_out("purge", invocation);
  }

  std::string refusal_of(const std::string& command, int exit_status) {
    try {
      carry_out(command);
    } catch (const velmora_host::Refusal& refusal) {
      EXPECT_EQ(Exit_Status::of(refusal.reason()), exit_status);
      return refusal.what();
    }
    return "";
  }

  std::vector<std::string> files_in_etc() const { return host_.files_below("etc/apt"); }

  velmora_host::test_support::Debian_Host host_;
};

const auto SET_UP =
    ElementsAre("apt.conf.d/20auto-upgrades", "apt.conf.d/50unattended-upgrades", "apt.conf.d/75lowerspeed",
                "sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg");

// --- before the package is there --------------------------------------------

TEST_F(CommandsTest, OnceRefusesToBeginWithoutThePackageAndRecordsIt) {
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 1);

  try {
    carry_out("once");
    FAIL() << "the cycle began";
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(),
                 "zant-velmora: is not installed, and the repository's source list needs its architecture; "
                 "install the package first, from the file that the vendor ships");
  }

  EXPECT_THAT(files_in_etc(), IsEmpty());
  const auto kept = velmora_host::cycle_store::read(
      *host_.services.filesystem, velmora_host::cycle_store::file_in(host_.state_directory()));
  ASSERT_TRUE(kept);
  ASSERT_EQ(kept->last_cycle.failures.size(), 1U);
  EXPECT_THAT(kept->last_cycle.failures[0].message, StartsWith("zant-velmora: is not installed, "));
}

TEST_F(CommandsTest, OnceTakesAnEmptyArchitectureForNoPackage) {
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "");

  EXPECT_THROW(carry_out("once"), std::runtime_error);
  EXPECT_THAT(files_in_etc(), IsEmpty());
}

TEST_F(CommandsTest, PurgeNeedsNoPackage) {
  carry_out("once");
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 1);

  EXPECT_EQ(carry_out("purge"), 0);
  EXPECT_THAT(files_in_etc(), IsEmpty());
}

// --- hold --------------------------------------------------------------------

TEST_F(CommandsTest, HoldBesideARunningServiceSaysThatItWillBeReleased) {
  host_.services.filesystem->create_directories(host_.state_directory());
  const velmora_host::Instance_Lock lock(host_.state_directory() / "lock");

  EXPECT_EQ(carry_out("hold"), 0);

  EXPECT_THAT(host_.log.messages(4),
              ElementsAre("package-minder is running (process " + std::to_string(::getpid()) +
                          ") and releases this hold in its next cycle; to keep the hold, stop it first: "
                          "\"systemctl stop package-minder\""));
}

TEST_F(CommandsTest, HoldWithoutAServiceWarnsOfNothing) {
  EXPECT_EQ(carry_out("hold"), 0);

  EXPECT_THAT(host_.log.messages(4), IsEmpty());
}

// --- once --------------------------------------------------------------------

TEST_F(CommandsTest, OnceSetsTheHostUp) {
  EXPECT_EQ(carry_out("once"), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_EQ(host_.read("/etc/apt/sources.list.d/zant-velmora.list"),
            "deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n");
  EXPECT_THAT(host_.log.records(), Contains(Captured_Record{2, "package-minder", "The cycle is done"}));
}

TEST_F(CommandsTest, OnceHandsTheSettingsToTheLibrary) {
  host_.set("package.apt.repo.url", "http://repo.velmora.test/");
  host_.set("minder.automatic_upgrades", "false");

  EXPECT_EQ(carry_out("once"), 0);

  EXPECT_THAT(files_in_etc(),
              ElementsAre("sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_THAT(host_.read("/etc/apt/sources.list.d/zant-velmora.list"),
              HasSubstr("http://repo.velmora.test/ "));
}

TEST_F(CommandsTest, OnceReleasesAHold) {
  host_.system->once(IS_HELD, 0);

  EXPECT_EQ(carry_out("once"), 0);

  EXPECT_THAT(host_.system->commands(), Contains("apt-mark -qq unhold zant-velmora"));
}

TEST_F(CommandsTest, OnceFailsWhenAHoldCannotBeReleasedAfterDoingTheRest) {
  host_.system->once(IS_HELD, 0);
  host_.system->once("apt-mark -qq unhold zant-velmora", 100);

  EXPECT_EQ(carry_out("once"), 1);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_THAT(
      host_.log.messages(5),
      Contains("The cycle failed (hold): zant-velmora is still held: apt-mark failed with exit code 100"));
}

TEST_F(CommandsTest, OnceFailsWhenAStepOfTheCycleThrows) {
  host_.system->on("apt-get -qq update", 100);
  host_.system->on("apt-cache policy zant-velmora", 0, "");

  EXPECT_EQ(carry_out("once"), 1);

  EXPECT_THAT(host_.log.messages(5),
              Contains("The cycle failed (repository): The APT source list file for zant-velmora is invalid "
                       "(it's likely misconfigured or the repo URL is unreachable)"));
  EXPECT_THAT(files_in_etc(), ElementsAre("trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, OnceFailsWhenTheUpgradeTimerCannotBeStarted) {
  host_.system->on(START_TIMER, 1);

  EXPECT_EQ(carry_out("once"), 1);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_THAT(
      host_.log.messages(5),
      Contains("The cycle failed (automatic_upgrades): apt-daily-upgrade.timer could not be started"));
}

TEST_F(CommandsTest, OnceTakesAwayWhatAKilledProcessLeft) {
  host_.write("/etc/apt/sources.list.d/.zant-velmora.list.Ab12cd.package-minder", "deb [arch=");
  host_.write("/etc/systemd/system/apt-daily-upgrade.timer.d/.x.conf.Ab12cd.package-minder", "[Ti");

  carry_out("once");

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_FALSE(
      exists(host_.on_disk("etc/systemd/system/apt-daily-upgrade.timer.d/.x.conf.Ab12cd.package-minder")));
}

// --- Refusals ----------------------------------------------------------------

TEST_F(CommandsTest, AHostWithoutASupportedPackageManagerIsRefusedAndLeftAsItWas) {
  host_.write("/etc/os-release", "ID=other\n");

  EXPECT_THAT(refusal_of("once", 69), HasSubstr("no supported package manager"));

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(host_.state_directory()));
}

TEST_F(CommandsTest, AHostWithoutAnOsReleaseIsRefused) {
  boost::filesystem::remove(host_.on_disk("etc/os-release"));

  for (const char* const command : {"run", "once", "hold", "release", "purge"}) {
    EXPECT_THAT(refusal_of(command, 69), HasSubstr("no supported package manager"));
  }
}

TEST_F(CommandsTest, AnIncompleteStagingTreeIsRefusedByEveryCommandAndTheHostLeftAsItWas) {
  boost::filesystem::remove(host_.installed_tree() / "config-files/apt/20auto-upgrades");

  for (const char* const command : {"run", "once", "hold", "release", "purge"}) {
    EXPECT_THAT(refusal_of(command, 78), HasSubstr("20auto-upgrades: this file is missing"));
  }

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(host_.state_directory()));
  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

TEST_F(CommandsTest, WithoutAKeyringNothingIsSetUpButAllCanBeUndone) {
  boost::filesystem::remove(host_.installed_tree() / "keyrings/zant-velmora.gpg");

  EXPECT_THAT(refusal_of("once", 78), HasSubstr("the keyring of the repository is missing"));
  EXPECT_THAT(refusal_of("run", 78), HasSubstr("the keyring of the repository is missing"));
  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(host_.state_directory()));

  EXPECT_EQ(carry_out("hold"), 0);
  EXPECT_EQ(carry_out("purge"), 0);
}

TEST_F(CommandsTest, WhileAnotherPackageMinderWorksOnlyHoldAndReleaseAreCarriedOut) {
  host_.services.filesystem->create_directories(host_.state_directory());
  const velmora_host::Instance_Lock other(host_.state_directory() / "lock");

  for (const char* const command : {"run", "once", "purge"}) {
    EXPECT_THAT(refusal_of(command, 75), HasSubstr("another package-minder (process "));
  }

  EXPECT_EQ(carry_out("hold"), 0);
  EXPECT_EQ(carry_out("release"), 0);
}

// --- hold and release --------------------------------------------------------

TEST_F(CommandsTest, HoldAndReleaseChangeTheHoldAndLeaveNothingBehind) {
  EXPECT_EQ(carry_out("hold"), 0);
  EXPECT_THAT(host_.system->commands(), Contains("apt-mark -qq hold zant-velmora"));

  EXPECT_EQ(carry_out("release"), 0);
  EXPECT_THAT(host_.system->commands(), Contains("apt-mark -qq unhold zant-velmora"));

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(host_.state_directory()));
}

TEST_F(CommandsTest, HoldAndReleaseFailWhenTheToolDoes) {
  host_.system->on("apt-mark -qq hold zant-velmora", 100);
  host_.system->on("apt-mark -qq unhold zant-velmora", 100);

  EXPECT_EQ(carry_out("hold"), 1);
  EXPECT_EQ(carry_out("release"), 1);
}

// --- purge -------------------------------------------------------------------

TEST_F(CommandsTest, PurgeUndoesWhatWasSetUpAndLeavesNoState) {
  host_.write("/etc/apt/apt.conf.d/20auto-upgrades", "the administrator's");
  carry_out("once");

  EXPECT_EQ(carry_out("purge"), 0);

  EXPECT_THAT(files_in_etc(), ElementsAre("apt.conf.d/20auto-upgrades"));
  EXPECT_EQ(host_.read("/etc/apt/apt.conf.d/20auto-upgrades"), "the administrator's");
  EXPECT_FALSE(exists(host_.state_directory()));
}

TEST_F(CommandsTest, PurgeOfTheUpgradesLeavesTheRepository) {
  carry_out("once");

  EXPECT_EQ(purge_upgrades(), 0);

  EXPECT_THAT(files_in_etc(),
              ElementsAre("sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, PurgeOnRemovalUndoesNothingUnlessTheSettingsAskForIt) {
  carry_out("once");

  EXPECT_EQ(purge_on_removal(), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
}

TEST_F(CommandsTest, PurgeOnRemovalUndoesAllWhenTheSettingsAskForIt) {
  carry_out("once");
  host_.set("minder.purge_on_removal", "true");

  EXPECT_EQ(purge_on_removal(), 0);

  EXPECT_THAT(files_in_etc(), IsEmpty());
}

TEST_F(CommandsTest, ARemovalThatIsToUndoNothingIsNotHeldUpByABrokenStagingTree) {
  boost::filesystem::remove_all(host_.installed_tree());

  EXPECT_EQ(purge_on_removal(), 0);
}

TEST_F(CommandsTest, PurgeFailsWhenSomethingStays) {
  carry_out("once");
  // A directory with something in it takes the place of the file that is to be removed.
  boost::filesystem::remove(host_.on_disk("etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  host_.write("/etc/apt/trusted.gpg.d/zant-velmora.gpg/file", "text");

  EXPECT_EQ(carry_out("purge"), 1);

  EXPECT_THAT(host_.log.messages(5), Contains("Could not remove /etc/apt/trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, PurgeOnAHostThatWasNeverSetUpChangesNothing) {
  EXPECT_EQ(carry_out("purge"), 0);

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_THAT(host_.system->commands(), ElementsAre("dpkg-query -f='${Architecture}' -W zant-velmora"));
}

// --- run ---------------------------------------------------------------------

// What stops a program in real life comes from outside; here it comes in the middle of a cycle.
class RunTest : public CommandsTest {
 protected:
  RunTest() { ::pthread_sigmask(SIG_SETMASK, nullptr, &previous_mask_); }
  ~RunTest() override { ::pthread_sigmask(SIG_SETMASK, &previous_mask_, nullptr); }

  void stop_during(const std::string& command, int signal_number) {
    host_.system->during(command, [signal_number] { ::kill(::getpid(), signal_number); });
  }

 private:
  sigset_t previous_mask_{};
};

TEST_F(RunTest, MindsThePackageUntilItIsToldToStop) {
  stop_during(START_TIMER, SIGTERM);

  EXPECT_EQ(carry_out("run"), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_THAT(host_.log.messages(2),
              ElementsAre("Minding zant-velmora, with 3600 s between cycles",
                          "Stopping on SIGTERM, after the cycle under way if there is one", "Stopped"));
}

TEST_F(RunTest, LetsTheCycleUnderWayComeToItsEnd) {
  stop_during("apt-get -qq update", SIGTERM);

  EXPECT_EQ(carry_out("run"), 0);

  EXPECT_THAT(host_.system->commands().back(), START_TIMER);
  EXPECT_THAT(files_in_etc(), SET_UP);
}

TEST_F(RunTest, StopsOnEveryRequestOfATerminalToo) {
  stop_during(START_TIMER, SIGINT);
  EXPECT_EQ(carry_out("run"), 0);
  EXPECT_THAT(host_.log.messages(2), Contains(HasSubstr("Stopping on SIGINT")));

  stop_during(START_TIMER, SIGHUP);
  EXPECT_EQ(carry_out("run"), 0);
  EXPECT_THAT(host_.log.messages(2), Contains(HasSubstr("Stopping on SIGHUP")));
}

bool is_about_a_cycle(const std::string& message) {
  return message.starts_with("STATUS=");
}

TEST_F(RunTest, TellsTheServiceManager) {
  const velmora_host::test_support::Notification_Socket manager;
  stop_during(START_TIMER, SIGTERM);

  carry_out("run");

  // The worker tells of its cycle on a thread of its own.
  std::vector<std::string> messages = manager.messages();
  const auto of_cycles =
      std::stable_partition(messages.begin(), messages.end(), std::not_fn(is_about_a_cycle));
  EXPECT_THAT(std::vector(messages.begin(), of_cycles),
              ElementsAre("READY=1\nSTATUS=Minding zant-velmora, with 3600 s between cycles",
                          "STOPPING=1\nSTATUS=Stopping, after the cycle under way if there is one"));
  EXPECT_THAT(std::vector(of_cycles, messages.end()), ElementsAre(StartsWith("STATUS=Last cycle ")));
}

TEST_F(RunTest, OnAHostThatCannotBeMindedIsNotReady) {
  const velmora_host::test_support::Notification_Socket manager;
  host_.write("/etc/os-release", "ID=rocky\nID_LIKE=\"rhel\"\n");
  host_.system->on("which dnf &> /dev/null", 1);

  EXPECT_THROW(carry_out("run"), std::runtime_error);

  EXPECT_EQ(manager.next_message(), "");
}

}  // namespace
}  // namespace zant::program
