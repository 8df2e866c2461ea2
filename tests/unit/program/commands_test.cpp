#include <program/commands.hpp>
#include <program/exit_status.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/instance_lock.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <support/host_side/notification_socket.hpp>
#include <support/host_side/rooted_filesystem.hpp>
#include <support/host_side/staging_example.hpp>

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace zant::program {
namespace {

using boost::filesystem::exists;
using boost::filesystem::path;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using velmora::test_support::Captured_Record;

constexpr const char* IS_HELD = "apt-mark showhold | grep -q ^zant-velmora$";
constexpr const char* START_TIMER = "systemctl start apt-daily-upgrade.timer";

// A Debian host in a directory, on which everything works unless a test says otherwise.
class CommandsTest : public ::testing::Test {
 protected:
  CommandsTest() {
    velmora_host::test_support::make_staging_tree(staging());
    given_host_file("/etc/os-release", "ID=debian\n");
    given_host_file("/proc/1/comm", "systemd\n");
    for (const char* directory :
         {"/etc/apt/trusted.gpg.d", "/etc/apt/sources.list.d", "/etc/apt/apt.conf.d"}) {
      services_.filesystem->create_directories(directory);
    }
    system_->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
    system_->on("apt-get -qq update", 0);
    system_->on(IS_HELD, 1);
    system_->on("apt-mark -qq hold zant-velmora", 0);
    system_->on("apt-mark -qq unhold zant-velmora", 0);
    system_->on("which unattended-upgrades > /dev/null", 0);
    system_->on("service unattended-upgrades start > /dev/null", 0);
    system_->on(START_TIMER, 0);
  }

  path staging() const { return directory_.path() / "installed"; }
  path state() const { return directory_.path() / "state"; }
  path on_host(const std::string& name) const { return directory_.path() / "root" / name; }

  void given_host_file(const std::string& name, const std::string& text) {
    services_.filesystem->create_directories(path(name).parent_path());
    services_.filesystem->write_file(name, text, velmora::Write_Flag::REPLACE);
  }
  void given_setting(const std::string& key, const std::string& value) {
    sources_.overrides.emplace_back(key, value);
  }

  int carry_out(Command command, bool upgrades_only = false, bool on_removal = false) {
    velmora_host::Settings_Sources sources = sources_;
    sources.file = "/nowhere";
    sources.overrides.emplace_back("minder.staging_directory", staging().string());
    sources.overrides.emplace_back("minder.state_directory", state().string());
    const velmora_host::Settings settings(sources);
    Command_Line line{command, upgrades_only, sources};
    line.on_removal = on_removal;
    return program::carry_out(line, settings, services_);
  }

  int purge_on_removal() { return carry_out(Command::PURGE, false, true); }

  std::string refusal_of(Command command, int exit_status) {
    try {
      carry_out(command);
    } catch (const velmora_host::Refusal& refusal) {
      EXPECT_EQ(Exit_Status::of(refusal.reason()), exit_status);
      return refusal.what();
    }
    return "";
  }

  std::vector<std::string> files_in_etc() const {
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::recursive_directory_iterator(on_host("etc/apt"))) {
      if (boost::filesystem::is_regular_file(entry.path())) {
        names.push_back(boost::filesystem::relative(entry.path(), on_host("etc/apt")).string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  velmora_host::Temporary_Directory directory_;
  velmora::test_support::Captured_Log log_;
  std::shared_ptr<velmora::test_support::Fake_System> system_ =
      std::make_shared<velmora::test_support::Fake_System>();
  velmora_host::Host_Services services_{
      system_, std::make_shared<velmora_host::test_support::Rooted_Filesystem>(directory_.path() / "root")};
  velmora_host::Settings_Sources sources_;
};

const auto SET_UP =
    ElementsAre("apt.conf.d/20auto-upgrades", "apt.conf.d/50unattended-upgrades", "apt.conf.d/75lowerspeed",
                "sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg");

// --- once --------------------------------------------------------------------

TEST_F(CommandsTest, OnceSetsTheHostUp) {
  EXPECT_EQ(carry_out(Command::ONCE), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_EQ(services_.filesystem->read_file("/etc/apt/sources.list.d/zant-velmora.list",
                                            velmora::Read_Flag::WHOLE_TEXT),
            "deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n");
  EXPECT_THAT(log_.records(), Contains(Captured_Record{2, "package-minder", "The cycle is done"}));
}

TEST_F(CommandsTest, OnceHandsTheSettingsToTheLibrary) {
  given_setting("package.apt.repo.url", "http://repo.velmora.test/");
  given_setting("minder.automatic_upgrades", "false");

  EXPECT_EQ(carry_out(Command::ONCE), 0);

  EXPECT_THAT(files_in_etc(),
              ElementsAre("sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_THAT(services_.filesystem->read_file("/etc/apt/sources.list.d/zant-velmora.list",
                                              velmora::Read_Flag::WHOLE_TEXT),
              HasSubstr("http://repo.velmora.test/ "));
}

TEST_F(CommandsTest, OnceReleasesAHold) {
  system_->once(IS_HELD, 0);

  EXPECT_EQ(carry_out(Command::ONCE), 0);

  EXPECT_THAT(system_->commands(), Contains("apt-mark -qq unhold zant-velmora"));
}

TEST_F(CommandsTest, OnceFailsWhenAHoldCannotBeReleasedAfterDoingTheRest) {
  system_->once(IS_HELD, 0);
  system_->once("apt-mark -qq unhold zant-velmora", 100);

  EXPECT_EQ(carry_out(Command::ONCE), 1);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_THAT(log_.messages(5), Contains("The cycle is done, but zant-velmora is still held"));
}

TEST_F(CommandsTest, OnceLetsAFailureOfTheCycleThrough) {
  system_->on("apt-get -qq update", 100);
  system_->on("apt-cache policy zant-velmora", 0, "");

  EXPECT_THROW(carry_out(Command::ONCE), std::runtime_error);

  EXPECT_THAT(files_in_etc(), ElementsAre("trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, OnceTakesAwayWhatAKilledProcessLeft) {
  given_host_file("/etc/apt/sources.list.d/.zant-velmora.list.Ab12cd.package-minder", "deb [arch=");
  given_host_file("/etc/systemd/system/apt-daily-upgrade.timer.d/.x.conf.Ab12cd.package-minder", "[Ti");
  given_host_file("/etc/yum.repos.d/.quorvane.repo.Ab12cd.package-minder", "[quo");

  carry_out(Command::ONCE);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_FALSE(exists(on_host("etc/systemd/system/apt-daily-upgrade.timer.d/.x.conf.Ab12cd.package-minder")));
  EXPECT_FALSE(exists(on_host("etc/yum.repos.d/.quorvane.repo.Ab12cd.package-minder")));
}

// --- Refusals ----------------------------------------------------------------

TEST_F(CommandsTest, AHostWithoutASupportedPackageManagerIsRefusedAndLeftAsItWas) {
  given_host_file("/etc/os-release", "ID=other\n");

  EXPECT_THAT(refusal_of(Command::ONCE, 69), HasSubstr("no supported package manager"));

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(state()));
}

TEST_F(CommandsTest, AHostWithoutAnOsReleaseIsRefused) {
  boost::filesystem::remove(on_host("etc/os-release"));

  for (const auto command : {Command::RUN, Command::ONCE, Command::HOLD, Command::RELEASE, Command::PURGE}) {
    EXPECT_THAT(refusal_of(command, 69), HasSubstr("no supported package manager"));
  }
}

TEST_F(CommandsTest, AnIncompleteStagingTreeIsRefusedByEveryCommandAndTheHostLeftAsItWas) {
  boost::filesystem::remove(staging() / "config-files/apt/20auto-upgrades");

  for (const auto command : {Command::RUN, Command::ONCE, Command::HOLD, Command::RELEASE, Command::PURGE}) {
    EXPECT_THAT(refusal_of(command, 78), HasSubstr("20auto-upgrades: this file is missing"));
  }

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(state()));
  EXPECT_THAT(system_->commands(), IsEmpty());
}

TEST_F(CommandsTest, WithoutAKeyringNothingIsSetUpButAllCanBeUndone) {
  boost::filesystem::remove(staging() / "keyrings/zant-velmora.gpg");

  EXPECT_THAT(refusal_of(Command::ONCE, 78), HasSubstr("the keyring of the APT repository is missing"));
  EXPECT_THAT(refusal_of(Command::RUN, 78), HasSubstr("the keyring of the APT repository is missing"));
  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(state()));

  EXPECT_EQ(carry_out(Command::HOLD), 0);
  EXPECT_EQ(carry_out(Command::PURGE), 0);
}

TEST_F(CommandsTest, WhileAnotherPackageMinderWorksOnlyHoldAndReleaseAreCarriedOut) {
  services_.filesystem->create_directories(state());
  const velmora_host::Instance_Lock other(state() / "lock");

  for (const auto command : {Command::RUN, Command::ONCE, Command::PURGE}) {
    EXPECT_THAT(refusal_of(command, 75), HasSubstr("another package-minder (process "));
  }

  EXPECT_EQ(carry_out(Command::HOLD), 0);
  EXPECT_EQ(carry_out(Command::RELEASE), 0);
}

// --- hold and release --------------------------------------------------------

TEST_F(CommandsTest, HoldAndReleaseChangeTheHoldAndLeaveNothingBehind) {
  EXPECT_EQ(carry_out(Command::HOLD), 0);
  EXPECT_THAT(system_->commands(), Contains("apt-mark -qq hold zant-velmora"));

  EXPECT_EQ(carry_out(Command::RELEASE), 0);
  EXPECT_THAT(system_->commands(), Contains("apt-mark -qq unhold zant-velmora"));

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_FALSE(exists(state()));
}

TEST_F(CommandsTest, HoldAndReleaseFailWhenTheToolDoes) {
  system_->on("apt-mark -qq hold zant-velmora", 100);
  system_->on("apt-mark -qq unhold zant-velmora", 100);

  EXPECT_EQ(carry_out(Command::HOLD), 1);
  EXPECT_EQ(carry_out(Command::RELEASE), 1);
}

// --- purge -------------------------------------------------------------------

TEST_F(CommandsTest, PurgeUndoesWhatWasSetUpAndLeavesNoState) {
  given_host_file("/etc/apt/apt.conf.d/20auto-upgrades", "the administrator's");
  carry_out(Command::ONCE);

  EXPECT_EQ(carry_out(Command::PURGE), 0);

  EXPECT_THAT(files_in_etc(), ElementsAre("apt.conf.d/20auto-upgrades"));
  EXPECT_EQ(
      services_.filesystem->read_file("/etc/apt/apt.conf.d/20auto-upgrades", velmora::Read_Flag::WHOLE_TEXT),
      "the administrator's");
  EXPECT_FALSE(exists(state()));
}

TEST_F(CommandsTest, PurgeOfTheUpgradesLeavesTheRepository) {
  carry_out(Command::ONCE);

  EXPECT_EQ(carry_out(Command::PURGE, true), 0);

  EXPECT_THAT(files_in_etc(),
              ElementsAre("sources.list.d/zant-velmora.list", "trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, PurgeOnRemovalUndoesNothingUnlessTheSettingsAskForIt) {
  carry_out(Command::ONCE);

  EXPECT_EQ(purge_on_removal(), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
}

TEST_F(CommandsTest, PurgeOnRemovalUndoesAllWhenTheSettingsAskForIt) {
  carry_out(Command::ONCE);
  given_setting("minder.purge_on_removal", "true");

  EXPECT_EQ(purge_on_removal(), 0);

  EXPECT_THAT(files_in_etc(), IsEmpty());
}

TEST_F(CommandsTest, ARemovalThatIsToUndoNothingIsNotHeldUpByABrokenStagingTree) {
  boost::filesystem::remove_all(staging());

  EXPECT_EQ(purge_on_removal(), 0);
}

TEST_F(CommandsTest, PurgeFailsWhenSomethingStays) {
  carry_out(Command::ONCE);
  // A directory with something in it takes the place of the file that is to be removed.
  boost::filesystem::remove(on_host("etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  given_host_file("/etc/apt/trusted.gpg.d/zant-velmora.gpg/file", "text");

  EXPECT_EQ(carry_out(Command::PURGE), 1);

  EXPECT_THAT(log_.messages(5), Contains("Could not remove /etc/apt/trusted.gpg.d/zant-velmora.gpg"));
}

TEST_F(CommandsTest, PurgeOnAHostThatWasNeverSetUpChangesNothing) {
  EXPECT_EQ(carry_out(Command::PURGE), 0);

  EXPECT_THAT(files_in_etc(), IsEmpty());
  EXPECT_THAT(system_->commands(), ElementsAre("dpkg-query -f='${Architecture}' -W zant-velmora"));
}

// --- run ---------------------------------------------------------------------

// What stops a program in real life comes from outside; here it comes in the middle of a cycle.
class RunTest : public CommandsTest {
 protected:
  RunTest() { ::pthread_sigmask(SIG_SETMASK, nullptr, &previous_mask_); }
  ~RunTest() override { ::pthread_sigmask(SIG_SETMASK, &previous_mask_, nullptr); }

  void stop_during(const std::string& command, int signal_number) {
    system_->during(command, [signal_number] { ::kill(::getpid(), signal_number); });
  }

 private:
  sigset_t previous_mask_{};
};

TEST_F(RunTest, MindsThePackageUntilItIsToldToStop) {
  stop_during(START_TIMER, SIGTERM);

  EXPECT_EQ(carry_out(Command::RUN), 0);

  EXPECT_THAT(files_in_etc(), SET_UP);
  EXPECT_THAT(log_.messages(2),
              ElementsAre("Minding zant-velmora, with 3600 s between cycles",
                          "Stopping on SIGTERM, after the cycle under way if there is one", "Stopped"));
}

TEST_F(RunTest, LetsTheCycleUnderWayComeToItsEnd) {
  stop_during("apt-get -qq update", SIGTERM);

  EXPECT_EQ(carry_out(Command::RUN), 0);

  EXPECT_THAT(system_->commands().back(), START_TIMER);
  EXPECT_THAT(files_in_etc(), SET_UP);
}

TEST_F(RunTest, StopsOnEveryRequestOfATerminalToo) {
  stop_during(START_TIMER, SIGINT);
  EXPECT_EQ(carry_out(Command::RUN), 0);
  EXPECT_THAT(log_.messages(2), Contains(HasSubstr("Stopping on SIGINT")));

  stop_during(START_TIMER, SIGHUP);
  EXPECT_EQ(carry_out(Command::RUN), 0);
  EXPECT_THAT(log_.messages(2), Contains(HasSubstr("Stopping on SIGHUP")));
}

TEST_F(RunTest, TellsTheServiceManager) {
  const velmora_host::test_support::Notification_Socket manager;
  stop_during(START_TIMER, SIGTERM);

  carry_out(Command::RUN);

  EXPECT_EQ(manager.next_message(), "READY=1\nSTATUS=Minding zant-velmora, with 3600 s between cycles");
  EXPECT_EQ(manager.next_message(), "STOPPING=1\nSTATUS=Stopping, after the cycle under way if there is one");
}

TEST_F(RunTest, OnAHostThatCannotBeMindedIsNotReady) {
  const velmora_host::test_support::Notification_Socket manager;
  given_host_file("/etc/os-release", "ID=rocky\nID_LIKE=\"rhel\"\n");
  system_->on("which dnf &> /dev/null", 1);

  EXPECT_THROW(carry_out(Command::RUN), std::runtime_error);

  EXPECT_EQ(manager.next_message(), "");
}

}  // namespace
}  // namespace zant::program
