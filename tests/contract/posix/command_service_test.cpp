#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/captured_log.hpp>
#include <support/host_side/denied_system_call.hpp>
#include <support/host_side/environment_variable.hpp>
#include <support/host_side/signal_disposition.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace zant::velmora_host {
namespace {

using namespace std::chrono_literals;
using test_support::Environment_Variable;
using test_support::Signal_Disposition;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using velmora::test_support::Captured_Log;
using velmora::test_support::Captured_Record;

constexpr int ERROR = 5;
constexpr int WARNING = 4;

// Long enough for every command here that is to end by itself; a command that hangs is a failure.
constexpr auto AMPLE = 20s;

Command_Service::Options ample_options() {
  Command_Service::Options options;
  options.time_limit = AMPLE;
  return options;
}

Command_Service::Options impatient_options() {
  Command_Service::Options options;
  options.time_limit = 300ms;
  options.kill_delay = 300ms;
  return options;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// True as soon as the process has ended.
bool ends(const std::string& pid) {
  const int process = static_cast<int>(::syscall(SYS_pidfd_open, std::stoi(pid), 0U));
  if (process < 0) {
    return true;
  }
  pollfd event{process, POLLIN, 0};
  const bool has_ended = ::poll(&event, 1, 10000) == 1;
  ::close(process);
  return has_ended;
}

bool runs(const std::string& pid) {
  return ::kill(std::stoi(pid), 0) == 0;
}

class CommandService : public ::testing::Test {
 protected:
  velmora::Command_Result run(const std::string& command) { return run(command, ample_options()); }
  velmora::Command_Result run(const std::string& command, const Command_Service::Options& options) {
    return Command_Service(options).run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  }
  std::string output_of(const std::string& command) { return run(command).output; }
  int status_of(const std::string& command) { return run(command).exit_code; }

  Captured_Log log_;
};

// --- Result ------------------------------------------------------------------

TEST_F(CommandService, ReturnsWhatTheCommandPrintsAndItsExitStatus) {
  const velmora::Command_Result result = run("echo one; echo two; exit 42");

  EXPECT_EQ(result.output, "one\ntwo\n");
  EXPECT_EQ(result.exit_code, 42);
}

TEST_F(CommandService, ReturnsOutputWithoutALineEndAsItIs) {
  EXPECT_EQ(output_of("printf 'amd64'"), "amd64");
}

TEST_F(CommandService, TheFlagChangesNothing) {
  EXPECT_EQ(Command_Service(ample_options()).run_command("echo text", false).output, "text\n");
}

TEST_F(CommandService, ACommandThatDoesNotExistIsTheShellsFailure) {
  EXPECT_EQ(status_of("no-such-command-anywhere"), 127);
}

TEST_F(CommandService, DeathByASignalIsThatSignalPlus128) {
  EXPECT_EQ(status_of("kill -KILL $$"), 137);
  EXPECT_EQ(status_of("kill -TERM $$"), 143);
}

TEST_F(CommandService, LargeOutputIsReturnedWhole) {
  const velmora::Command_Result result = run("head --bytes=5000000 /dev/zero | tr '\\0' x");

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, std::string(5000000, 'x'));
}

TEST_F(CommandService, OutputBeyondTheLimitIsDroppedWithAWarningAndTheCommandIsNotDisturbed) {
  auto options = ample_options();
  options.output_limit = 1000;

  const velmora::Command_Result result =
      run("head --bytes=500000 /dev/zero | tr '\\0' x; echo done >&2", options);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, std::string(1000, 'x'));
  EXPECT_THAT(log_.messages(WARNING),
              ElementsAre("A command printed more than 1000 bytes, the rest is dropped | Command: head "
                          "--bytes=500000 /dev/zero | tr '\\0' x; echo done >&2"));
}

// --- The shell ---------------------------------------------------------------

TEST_F(CommandService, TheShellIsBash) {
  EXPECT_EQ(output_of("[[ text == t* ]] && echo hidden &> /dev/null && echo $BASH"), "/bin/bash\n");
}

TEST_F(CommandService, APipelineIsJudgedByItsLastCommandWhateverTheCallersShellOptions) {
  const Environment_Variable options("SHELLOPTS", "pipefail");

  EXPECT_EQ(status_of("false | true"), 0);
  EXPECT_EQ(status_of("true | false"), 1);
}

// --- Standard error ----------------------------------------------------------

TEST_F(CommandService, ErrorTextIsNotPartOfTheOutput) {
  EXPECT_EQ(output_of("echo out; echo error >&2; echo more"), "out\nmore\n");
}

TEST_F(CommandService, TheErrorTextOfAFailedCommandIsLoggedWithIt) {
  run("echo 'E: Could not get lock' >&2; exit 100");

  EXPECT_THAT(
      log_.messages(WARNING),
      ElementsAre("Command ended with exit code 100 | Command: echo 'E: Could not get lock' >&2; exit 100 | "
                  "Error output: E: Could not get lock"));
}

TEST_F(CommandService, AFailureWithoutAWordIsAnAnswerAndNoWarning) {
  run("false");

  EXPECT_THAT(log_.messages(WARNING), IsEmpty());
  EXPECT_THAT(log_.messages(ERROR), IsEmpty());
}

TEST_F(CommandService, TheErrorTextOfASuccessIsNoWarning) {
  run("echo 'W: Something' >&2");

  EXPECT_THAT(log_.messages(WARNING), IsEmpty());
  EXPECT_THAT(log_.messages(1), ElementsAre(HasSubstr("Error output: W: Something")));
}

TEST_F(CommandService, OfALongErrorTextTheEndIsLogged) {
  run("head --bytes=500000 /dev/zero | tr '\\0' x >&2; echo 'E: the reason' >&2; exit 1");

  ASSERT_THAT(log_.messages(WARNING), SizeIs(1));
  const std::string message = log_.messages(WARNING).front();
  EXPECT_THAT(message, ::testing::EndsWith("E: the reason"));
  EXPECT_THAT(message, HasSubstr("Error output: [...] xxx"));
  EXPECT_LT(message.size(), 5000U);
}

// --- Surroundings ------------------------------------------------------------

TEST_F(CommandService, StandardInputIsEmpty) {
  EXPECT_EQ(output_of("readlink /proc/self/fd/0"), "/dev/null\n");
  EXPECT_EQ(run("cat").output, "");
}

TEST_F(CommandService, TheWorkingDirectoryIsTheRoot) {
  EXPECT_EQ(output_of("pwd"), "/\n");
}

TEST_F(CommandService, ACommandLeadsASessionAndAProcessGroupOfItsOwn) {
  // Fields of stat(5): process, group, session, terminal.
  const std::string ids = output_of("echo $$ $$ $$ 0; cut --delimiter=' ' --fields=1,5-7 /proc/$$/stat");

  const auto lines = lines_of(ids);
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[1], lines[0]);
}

TEST_F(CommandService, ThereIsNoTerminal) {
  EXPECT_NE(status_of("true < /dev/tty"), 0);
}

TEST_F(CommandService, TheEnvironmentIsTheSameForEverybody) {
  // PWD, SHLVL and _ are the shell's own.
  const Environment_Variable https_proxy("https_proxy", nullptr);
  const Environment_Variable http_proxy("http_proxy", nullptr);
  const Environment_Variable no_proxy("no_proxy", nullptr);
  const Environment_Variable HTTPS_PROXY("HTTPS_PROXY", nullptr);
  const Environment_Variable HTTP_PROXY("HTTP_PROXY", nullptr);
  const Environment_Variable NO_PROXY("NO_PROXY", nullptr);
  const Environment_Variable zone("TZ", nullptr);
  const Environment_Variable language("LANGUAGE", "de");
  const Environment_Variable messages("LC_MESSAGES", "de_DE.UTF-8");
  const Environment_Variable startup_file("BASH_ENV", "/somewhere");
  const Environment_Variable libraries("LD_LIBRARY_PATH", "/somewhere");
  const Environment_Variable listener("NOTIFY_SOCKET", "/run/somewhere");
  const Environment_Variable path("PATH", "/usr/bin:/bin");

  EXPECT_THAT(lines_of(output_of("env | cut --delimiter== --fields=1 | sort")),
              ElementsAre("HOME", "LANG", "LC_ALL", "PATH", "PWD", "SHLVL", "_"));
  EXPECT_EQ(output_of("echo $PATH $LANG $LC_ALL"),
            "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin C.UTF-8 C.UTF-8\n");
}

TEST_F(CommandService, APreloadedLibraryOfTheCallersIsNotTheCommands) {
  const Environment_Variable preload("LD_PRELOAD", "/somewhere/library.so");

  const velmora::Command_Result result = run("echo -n $LD_PRELOAD; ls / > /dev/null");

  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.exit_code, 0);
}

TEST_F(CommandService, HomeIsTheUsersOwn) {
  const Environment_Variable home("HOME", "/somewhere");

  EXPECT_EQ(output_of("echo $HOME"), output_of("getent passwd $(id --user) | cut --delimiter=: --fields=6"));
}

TEST_F(CommandService, TheHostsProxiesAndTimeZoneHold) {
  const Environment_Variable proxy("https_proxy", "http://proxy.example:3128");
  const Environment_Variable zone("TZ", "UTC-3");

  EXPECT_EQ(output_of("echo $https_proxy; date --date=@0 +%H"), "http://proxy.example:3128\n03\n");
}

TEST_F(CommandService, TheProgramsOwnVariablesAreAddedAndWin) {
  auto options = ample_options();
  options.environment = {{"APT_CONFIG", "/somewhere/apt.conf"}, {"LANG", "C"}};

  EXPECT_EQ(run("echo $APT_CONFIG $LANG", options).output, "/somewhere/apt.conf C\n");
}

TEST_F(CommandService, SignalsThatTheCallerIgnoresAreNotIgnored) {
  const Signal_Disposition pipe(SIGPIPE, SIG_IGN);
  const Signal_Disposition interrupt(SIGINT, SIG_IGN);
  const Signal_Disposition large_file(SIGXFSZ, SIG_IGN);

  EXPECT_EQ(status_of("kill -PIPE $$"), 128 + SIGPIPE);
  EXPECT_EQ(status_of("kill -XFSZ $$"), 128 + SIGXFSZ);
  EXPECT_EQ(status_of("kill -INT $$"), 128 + SIGINT);
}

TEST_F(CommandService, AnEndlessWriterInAPipelineDiesOfTheBrokenPipe) {
  const Signal_Disposition pipe(SIGPIPE, SIG_IGN);

  EXPECT_EQ(output_of("yes | head --lines=1"), "y\n");
}

TEST_F(CommandService, SignalsThatTheCallerBlocksAreNotBlocked) {
  sigset_t all;
  sigset_t previous;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_BLOCK, &all, &previous);

  const std::string blocked = output_of("grep SigBlk /proc/self/status");

  ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  EXPECT_EQ(blocked, "SigBlk:\t0000000000000000\n");
}

TEST_F(CommandService, NoDescriptorOfTheCallersIsTheCommands) {
  constexpr int NUMBER = 100;
  ASSERT_EQ(::dup2(STDERR_FILENO, NUMBER), NUMBER);

  const velmora::Command_Result result = run("[[ -e /proc/$$/fd/100 ]]");

  ::close(NUMBER);
  EXPECT_EQ(result.exit_code, 1);
}

TEST_F(CommandService, CommandsDoNotGetEachOthersPipes) {
  // Descriptor 3 is the listing's own.
  EXPECT_EQ(output_of("ls /proc/self/fd"), "0\n1\n2\n3\n");
}

TEST_F(CommandService, NothingStaysOpenInTheCaller) {
  const auto open_descriptors = [] {
    int count = 0;
    for (int number = 0; number < 1000; ++number) {
      count += ::fcntl(number, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
  };
  run("true");
  const int before = open_descriptors();

  run("echo text; echo error >&2");
  run("sleep 60", impatient_options());

  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(CommandService, ACallerWithoutStandardInputAndOutputGetsTheOutputAllTheSame) {
  const auto run_without = [] {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    const auto result =
        Command_Service(ample_options()).run_command("echo out; cat", velmora::Run_Flag::WAIT_AND_CAPTURE);
    ::_exit(result.output == "out\n" && result.exit_code == 0 ? 0 : 1);
  };

  EXPECT_EXIT(run_without(), ::testing::ExitedWithCode(0), "");
}

// --- End of a command --------------------------------------------------------

TEST_F(CommandService, ADaemonThatKeepsTheOutputOpenIsNotWaitedFor) {
  const velmora::Command_Result result = run("sleep 600 & echo $!; setsid sleep 600 & echo $!");

  const auto pids = lines_of(result.output);
  ASSERT_THAT(pids, SizeIs(2));
  EXPECT_EQ(result.exit_code, 0);
  for (const auto& pid : pids) {
    EXPECT_TRUE(runs(pid)) << "what a command leaves behind on purpose is left alone";
    ::kill(std::stoi(pid), SIGKILL);
  }
}

TEST_F(CommandService, ADaemonThatKeepsWritingIsNotWaitedFor) {
  const velmora::Command_Result result = run("yes & echo pid $!");

  const std::size_t start = result.output.find("pid ");
  ASSERT_NE(start, std::string::npos);
  ::kill(std::stoi(result.output.substr(start + 4)), SIGKILL);
  EXPECT_EQ(result.exit_code, 0);
}

TEST_F(CommandService, WhatACommandWritesRightBeforeItsEndIsNotLost) {
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(output_of("head --bytes=60000 /dev/zero | tr '\\0' x").size(), 60000U);
  }
}

TEST_F(CommandService, ACommandThatClosesItsOutputIsWaitedFor) {
  EXPECT_EQ(status_of("exec >&- 2>&-; sleep 0.2; exit 3"), 3);
}

// --- Time limit --------------------------------------------------------------

TEST_F(CommandService, ACommandBeyondTheTimeLimitIsEndedAndHasFailed) {
  const velmora::Command_Result result = run("echo begun; sleep 600", impatient_options());

  EXPECT_EQ(result.exit_code, 124);
  EXPECT_EQ(result.output, "begun\n");
  EXPECT_THAT(log_.messages(ERROR),
              ElementsAre("Ending a command that takes longer than 0.3 s | Command: echo begun; sleep 600"));
}

TEST_F(CommandService, TheWholeProcessGroupIsEnded) {
  const velmora::Command_Result result =
      run("sleep 600 & echo $!; sleep 601 | sleep 602 & echo $!; wait", impatient_options());

  const auto pids = lines_of(result.output);
  ASSERT_THAT(pids, SizeIs(2));
  EXPECT_TRUE(ends(pids[0]));
  EXPECT_TRUE(ends(pids[1]));
}

TEST_F(CommandService, ACommandThatIgnoresTheRequestToEndIsKilled) {
  const velmora::Command_Result result = run("trap '' TERM; sleep 600", impatient_options());

  EXPECT_EQ(result.exit_code, 124);
}

TEST_F(CommandService, AMemberOfTheGroupThatIgnoresTheRequestIsKilledAlthoughTheShellHasEnded) {
  const velmora::Command_Result result =
      run("(trap '' TERM; exec sleep 600) & echo $!; wait", impatient_options());

  ASSERT_THAT(lines_of(result.output), SizeIs(1));
  EXPECT_TRUE(ends(lines_of(result.output)[0]));
}

TEST_F(CommandService, AMemberOfTheGroupMayTidyUpBeforeItIsKilled) {
  auto options = impatient_options();
  options.time_limit = 1s;
  options.kill_delay = AMPLE;

  const velmora::Command_Result result =
      run("bash -c 'trap \"echo tidied up; exit\" TERM; sleep 600 & wait' & wait", options);

  EXPECT_EQ(result.output, "tidied up\n");
  EXPECT_EQ(result.exit_code, 124);
}

TEST_F(CommandService, ACommandThatEndsWellWhenItIsEndedHasFailedAllTheSame) {
  auto options = impatient_options();
  options.time_limit = 1s;
  options.kill_delay = AMPLE;

  EXPECT_EQ(run("trap 'exit 0' TERM; sleep 600 & wait", options).exit_code, 124);
}

// An installation that outlasts the time limit, and ends once that has been noticed.
class CommandServiceInstallation : public CommandService {
 protected:
  void SetUp() override {
    given_tool("apt-get");
    ASSERT_EQ(::mkfifo(at("noticed").c_str(), 0600), 0);
    options_.runs_to_its_end = [](const std::string& line) {
      return line.find("apt-get -qq install") != std::string::npos;
    };
    options_.environment = {{"PATH", directory_.path().string() + ":/usr/bin:/bin"}};
    log_.on_record([this](const Captured_Record& record) {
      if (record.severity == WARNING) {
        std::ofstream(at("noticed")) << "noticed\n";
      }
    });
  }

  std::string at(const std::string& name) const { return (directory_.path() / name).string(); }

  void given_tool(const std::string& name) const {
    std::ofstream(at(name)) << "#!/bin/bash\nread line < " << at("noticed") << "\necho installed\n";
    ASSERT_EQ(::chmod(at(name).c_str(), 0755), 0);
  }

  Temporary_Directory directory_;
  Command_Service::Options options_ = impatient_options();
};

TEST_F(CommandServiceInstallation, IsLeftToItsEndHoweverLongItTakes) {
  const std::string command =
      "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades";

  const velmora::Command_Result result = run(command, options_);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "installed\n");
  EXPECT_THAT(
      log_.messages(WARNING),
      ElementsAre(
          "A command that must not be ended takes longer than 0.3 s, waiting for its end | Command: " +
          command));
}

TEST_F(CommandServiceInstallation, ARefreshByTheSameToolIsNone) {
  EXPECT_EQ(run("apt-get -qq update", options_).exit_code, 124);
}

// --- Failures of the host's own ----------------------------------------------

TEST_F(CommandService, ACommandThatCannotBeStartedHasFailedWithTheReasonInTheLog) {
  // No argument of a program may be that long.
  const velmora::Command_Result result = run("true " + std::string(200000, 'x'));

  EXPECT_EQ(result.exit_code, 126);
  EXPECT_EQ(result.output, "");
  ASSERT_THAT(log_.messages(ERROR), SizeIs(1));
  EXPECT_THAT(log_.messages(ERROR)[0],
              StartsWith("Could not start a command: /bin/bash: Argument list too long | Command: true xxx"));
  EXPECT_LT(log_.messages(ERROR)[0].size(), 2000U);
}

TEST_F(CommandService, ACallerThatHasNoDescriptorsLeftGetsAFailureWithTheReasonInTheLog) {
  rlimit previous{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &previous), 0);
  const rlimit none_left{0, previous.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none_left), 0);

  const velmora::Command_Result result = run("true");

  ::setrlimit(RLIMIT_NOFILE, &previous);
  EXPECT_EQ(result.exit_code, 126);
  EXPECT_THAT(
      log_.messages(ERROR),
      ElementsAre("Could not start a command: cannot make a pipe: Too many open files | Command: true"));
}

TEST_F(CommandService, ACallerThatIgnoresSigchldGetsAFailureInsteadOfASuccessThatNobodySaw) {
  const Signal_Disposition ignored(SIGCHLD, SIG_IGN);

  const velmora::Command_Result result = run("echo text");

  EXPECT_EQ(result.exit_code, 125);
  EXPECT_EQ(result.output, "text\n");
  EXPECT_THAT(
      log_.messages(ERROR),
      ElementsAre("The exit status of a command is lost: this process ignores SIGCHLD, or something in it "
                  "reaps the children of others | Command: echo text"));
}

TEST_F(CommandService, WorksWhereTheKernelCannotAnnounceTheEndOfAProcess) {
  const auto run_without_process_descriptors = [] {
    constexpr unsigned int NO_FLAGS = 0;
    test_support::deny_system_call(SYS_pidfd_open, NO_FLAGS, ENOSYS);
    const auto result = Command_Service(ample_options())
                            .run_command("echo text; sleep 0.1; exit 3", velmora::Run_Flag::WAIT_AND_CAPTURE);
    ::_exit(result.output == "text\n" ? result.exit_code : 1);
  };

  EXPECT_EXIT(run_without_process_descriptors(), ::testing::ExitedWithCode(3), "");
}

// --- Threads -----------------------------------------------------------------

TEST_F(CommandService, SeveralThreadsGetTheirOwnResults) {
  Command_Service system(ample_options());
  std::vector<std::jthread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([&system, number] {
      for (int round = 0; round < 10; ++round) {
        const std::string text = std::to_string(number) + "." + std::to_string(round);
        const auto result = system.run_command("echo " + text + "; exit " + std::to_string(number),
                                               velmora::Run_Flag::WAIT_AND_CAPTURE);
        EXPECT_EQ(result.output, text + "\n");
        EXPECT_EQ(result.exit_code, number);
      }
    });
  }
}

// --- bounds ------------------------------------------------------------------

TEST(CommandServiceWithinBounds, EndsACommandAtTheDeadlineWithWhatItStarted) {
  const Captured_Log log;
  Command_Service service(ample_options());
  const auto begin = std::chrono::steady_clock::now();

  const auto result = service.run_command_within("sleep 60 & echo $!; wait", {begin + 300ms, {}});

  EXPECT_EQ(result.exit_code, 124);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, AMPLE);
  EXPECT_TRUE(ends(lines_of(result.output).at(0)));
  EXPECT_THAT(log.messages(WARNING), IsEmpty());
  EXPECT_THAT(log.messages(ERROR), IsEmpty());
}

TEST(CommandServiceWithinBounds, EndsACommandThatIsGivenUpAndIgnoresTheRequestToEnd) {
  const Captured_Log log;
  Command_Service service(ample_options());
  int asked = 0;

  const auto result = service.run_command_within(
      "trap '' TERM; while :; do sleep 1; done",
      {std::chrono::steady_clock::time_point::max(), [&asked] { return ++asked > 3; }});

  EXPECT_EQ(result.exit_code, 124);
}

TEST(CommandServiceWithinBounds, LeavesTheJudgementOfAFailureToWhoAsks) {
  const Captured_Log log;
  Command_Service service(ample_options());

  const auto result = service.run_command_within("echo answer; echo no >&2; exit 3", {});

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.output, "answer\n");
  EXPECT_THAT(log.messages(WARNING), IsEmpty());
}

TEST(CommandServiceWithinBounds, KeepsItsOwnTimeLimit) {
  const Captured_Log log;
  Command_Service service(impatient_options());

  EXPECT_EQ(service.run_command_within("sleep 60", {}).exit_code, 124);
}

}  // namespace
}  // namespace zant::velmora_host
