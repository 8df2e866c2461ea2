// package-minder.exe itself, from the command line, on a host whose choco.exe and schtasks.exe are stand-ins.

#include <program/platform/process_setup.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/windows/handle.hpp>

#include <windows/scratch_directory.hpp>
#include <windows/stand_in.hpp>

#include <Poco/Process.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/nowide/convert.hpp>
#include <nlohmann/json.hpp>

#include <string>
#include <thread>
#include <vector>

namespace velmora = zant::velmora;
using namespace zant::velmora_host;
using namespace zant::program;
using namespace zant::velmora_host::test_support;
using stand_in::Lines;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string PACKAGE = "zant-velmora";
const std::string TASK = "UpgradeVelmoraRecorderVMS";
const std::string LOCATION = "https://nuget.test/v3/index.json";

// A host with Chocolatey in a base directory of its own, and nothing set up.
class Host {
 public:
  Host() {
    boost::filesystem::create_directories(base_ / "chocolatey");
    boost::filesystem::create_directories(system_);
    boost::filesystem::copy_file(built_program("choco_stand_in.exe"), choco());
    boost::filesystem::copy_file(built_program("schtasks_stand_in.exe"), system_ / "schtasks.exe");
    // The real one is found by the same way, in the directory of the system.
    path_before_ = std::getenv("PATH");
    ::SetEnvironmentVariableW(L"PATH", boost::nowide::widen(system_.string() + ";" + path_before_).c_str());
  }
  ~Host() { ::SetEnvironmentVariableW(L"PATH", boost::nowide::widen(path_before_).c_str()); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  boost::filesystem::path base() const { return base_; }
  boost::filesystem::path choco() const { return base_ / "chocolatey" / "choco.exe"; }
  boost::filesystem::path state_directory() const { return directory_ / "state"; }

  // What a stand-in keeps, or was called with.
  Lines choco_keeps(const std::string& file) const { return read_(base_ / "chocolatey" / file); }
  Lines schtasks_keeps(const std::string& file) const { return read_(system_ / file); }

  void choco_has(const std::string& file, const Lines& lines) const {
    write_(base_ / "chocolatey" / file, lines);
  }
  void schtasks_has(const std::string& file, const Lines& lines) const { write_(system_ / file, lines); }

  void forget_calls() const {
    boost::filesystem::remove(base_ / "chocolatey" / "calls.txt");
    boost::filesystem::remove(system_ / "calls.txt");
  }

  std::string minder(const std::string& arguments) const {
    return "\"" + built_program("package-minder.exe").string() +
           "\" --set \"minder.base_directory=" + base_.string() +
           "\" --set \"minder.state_directory=" + state_directory().string() +
           "\" --set package.choco.repo.source_location=" + LOCATION + " " + arguments;
  }

  velmora::Command_Result run(const std::string& arguments) const {
    return Command_Service({}).run_command(minder(arguments), velmora::Run_Flag::WAIT_AND_CAPTURE);
  }

 private:
  static std::filesystem::path native_(const boost::filesystem::path& path) { return path.wstring(); }
  static Lines read_(const boost::filesystem::path& file) {
    return stand_in::State_File(native_(file)).read();
  }
  static void write_(const boost::filesystem::path& file, const Lines& lines) {
    stand_in::State_File(native_(file)).write(lines);
  }

  Scratch_Directory directory_;
  boost::filesystem::path base_ = directory_ / "Base Directory (x86)";
  boost::filesystem::path system_ = directory_ / "system";
  std::string path_before_;
};

class Flow : public testing::Test {
 protected:
  Host host;
  const std::string task =
      TASK + "|S-1-5-18|\"" + host.choco().string() +
      "\" upgrade zant-velmora -y --ignore-http-cache|[/ST][01:00][/SC][WEEKLY][/D][SUN]";
};

TEST_F(Flow, TheFirstCycleAddsTheSourceAdoptsTheInstallationReleasesThePinAndCreatesTheTask) {
  host.choco_has("pins.txt", {PACKAGE});

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 0) << result.output;
  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre(PACKAGE + " - " + LOCATION));
  EXPECT_THAT(host.choco_keeps("packages.txt"), ElementsAre(PACKAGE + " " MINDER_VERSION));
  EXPECT_THAT(host.choco_keeps("pins.txt"), IsEmpty());
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), ElementsAre(task));
  EXPECT_THAT(host.choco_keeps("calls.txt"),
              ElementsAre("[source][list]", "[source][add][-n][zant-velmora][-s][" + LOCATION + "]",
                          "[list][-e][zant-velmora]",
                          "[install][zant-velmora][-y][--version][" MINDER_VERSION
                          "][--skip-powershell][--ignore-http-cache]",
                          "[pin][list]", "[pin][remove][-n][zant-velmora]"));
}

TEST_F(Flow, TheFirstCycleLeavesAPackageThatChocolateyKnowsAsItIs) {
  host.choco_has("packages.txt", {PACKAGE + " 0.1.0"});

  EXPECT_EQ(host.run("once").exit_code, 0);
  EXPECT_THAT(host.choco_keeps("packages.txt"), ElementsAre(PACKAGE + " 0.1.0"));
}

TEST_F(Flow, ASecondCycleChangesNothing) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.forget_calls();

  EXPECT_EQ(host.run("once").exit_code, 0);

  EXPECT_THAT(host.choco_keeps("calls.txt"), ElementsAre("[source][list]", "[pin][list]"));
  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre(PACKAGE + " - " + LOCATION));
  EXPECT_THAT(host.choco_keeps("packages.txt"), ElementsAre(PACKAGE + " " MINDER_VERSION));
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), ElementsAre(task));
}

TEST_F(Flow, AChangedScheduleTakesEffectInTheNextCycle) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  EXPECT_EQ(host.run("--set \"package.choco.upgrade_scheduler.options=/SC DAILY /ST 03:30\" once").exit_code,
            0);

  EXPECT_THAT(
      host.schtasks_keeps("tasks.txt"),
      ElementsAre(AllOf(testing::StartsWith(TASK + "|"), testing::EndsWith("|[/SC][DAILY][/ST][03:30]"))));
}

TEST_F(Flow, WithoutAutomaticUpgradesThereIsNoTask) {
  EXPECT_EQ(host.run("--set minder.automatic_upgrades=false once").exit_code, 0);

  EXPECT_THAT(host.schtasks_keeps("calls.txt"), IsEmpty());
}

TEST_F(Flow, PurgeTakesAllOfItAway) {
  host.choco_has("sources.txt", {"other - https://other.test/"});
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.forget_calls();

  EXPECT_EQ(host.run("purge").exit_code, 0);

  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre("other - https://other.test/"));
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), IsEmpty());
  EXPECT_FALSE(boost::filesystem::exists(host.state_directory()));
  EXPECT_THAT(host.choco_keeps("calls.txt"),
              ElementsAre("[source][list]", "[source][remove][-n][zant-velmora]", "[cache][remove]"));
  EXPECT_THAT(host.schtasks_keeps("calls.txt"),
              ElementsAre("[/QUERY][/TN][" + TASK + "]", "[/DELETE][/F][/TN][" + TASK + "]"));
}

TEST_F(Flow, PurgeOfTheUpgradesLeavesTheSource) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  EXPECT_EQ(host.run("purge --upgrades-only").exit_code, 0);

  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre(PACKAGE + " - " + LOCATION));
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), IsEmpty());
}

TEST_F(Flow, PurgeOnAHostWithNothingSetUpChangesNothing) {
  EXPECT_EQ(host.run("purge").exit_code, 0);

  EXPECT_THAT(host.choco_keeps("calls.txt"), ElementsAre("[source][list]", "[cache][remove]"));
  EXPECT_THAT(host.schtasks_keeps("calls.txt"), ElementsAre("[/QUERY][/TN][" + TASK + "]"));
}

TEST_F(Flow, HoldPinsAndReleaseUnpins) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  EXPECT_EQ(host.run("hold").exit_code, 0);
  EXPECT_THAT(host.choco_keeps("pins.txt"), ElementsAre(PACKAGE));

  EXPECT_EQ(host.run("release").exit_code, 0);
  EXPECT_THAT(host.choco_keeps("pins.txt"), IsEmpty());
}

TEST_F(Flow, HoldingAPackageThatIsNotInstalledFails) {
  EXPECT_EQ(host.run("hold").exit_code, 1);
}

// --- Failures --------------------------------------------------------------------------------------------

TEST_F(Flow, AChocoThatFailsIsReportedAndTheTaskIsCreatedAllTheSame) {
  host.choco_has("failures.txt", {"[source]", "[pin]"});

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, AllOf(HasSubstr("choco.exe command failed with return code 1 | Command: \"" +
                                             host.choco().string() + "\" source list"),
                                   HasSubstr("Unable to do that now.")));
  EXPECT_THAT(
      host.choco_keeps("calls.txt"),
      ElementsAre("[source][list]", "[source][add][-n][zant-velmora][-s][" + LOCATION + "]", "[pin][list]"));
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), ElementsAre(task));
}

TEST_F(Flow, AnAdoptionThatFailsIsReported) {
  host.choco_has("failures.txt", {"[install]"});

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(host.choco_keeps("packages.txt"), IsEmpty());
  EXPECT_THAT(contents(host.state_directory() / "last-cycle.json"),
              AllOf(HasSubstr("\"kind\": \"repository\""), HasSubstr("choco.exe command failed")));
}

TEST_F(Flow, AChocoThatIsMissingIsReported) {
  boost::filesystem::remove(host.choco());

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, HasSubstr("choco.exe command failed with return code "));
}

TEST_F(Flow, PurgeStillDeletesTheTaskWhenChocoIsMissing) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  boost::filesystem::remove(host.choco());

  EXPECT_EQ(host.run("purge").exit_code, 1);
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), IsEmpty());
}

TEST_F(Flow, ASchedulerThatRefusesIsReported) {
  host.schtasks_has("failures.txt", {"[/CREATE]"});

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, AllOf(HasSubstr("Failed to schedule task for automatic package upgrades"),
                                   HasSubstr("ERROR: Access is denied.")));
  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre(PACKAGE + " - " + LOCATION));
}

TEST_F(Flow, AnEmptyScheduleIsRefusedByTheSchedulerAndReported) {
  const velmora::Command_Result result = host.run("--set package.choco.upgrade_scheduler.options= once");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, HasSubstr("Mandatory option 'sc' is missing"));
}

TEST_F(Flow, ATaskThatCannotBeDeletedIsReported) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.schtasks_has("failures.txt", {"[/DELETE]"});

  const velmora::Command_Result result = host.run("purge");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, HasSubstr("Failed to remove scheduled task " + TASK));
}

// --- Bad input -------------------------------------------------------------------------------------------

struct Bad_Base {
  std::string name;
  std::string message;
};

class FlowWithABadBaseDirectory : public Flow, public testing::WithParamInterface<Bad_Base> {};

TEST_P(FlowWithABadBaseDirectory, ChangesNothingAndSaysWhatWouldBeRight) {
  const auto directory = host.base().parent_path() / GetParam().name;
  if (GetParam().name != "missing") {
    boost::filesystem::create_directories(directory);
  }

  const velmora::Command_Result result =
      host.run("--set \"minder.base_directory=" + directory.string() + "\" once");

  EXPECT_EQ(result.exit_code, 78);
  EXPECT_THAT(result.output,
              AllOf(HasSubstr(GetParam().message), HasSubstr("minder.base_directory must name")));
  EXPECT_THAT(host.schtasks_keeps("calls.txt"), IsEmpty());
  EXPECT_FALSE(boost::filesystem::exists(host.state_directory()));
}

INSTANTIATE_TEST_SUITE_P(Flow, FlowWithABadBaseDirectory,
                         testing::Values(Bad_Base{"missing", "this directory is missing"},
                                         Bad_Base{"a & b", "cmd.exe would not take the characters"},
                                         Bad_Base{"a^b", "cmd.exe would not take the characters"},
                                         Bad_Base{"100%", "cmd.exe would not take the characters"},
                                         Bad_Base{std::string(190, 'a'), "is too long"},
                                         Bad_Base{"ξ 語", "not in the code page of this system"}));

TEST_F(Flow, ASettingsFileIsRead) {
  const auto file = host.base() / "minder settings.properties";
  write(file, "minder.automatic_upgrades = false\r\n");

  EXPECT_EQ(host.run("--settings \"" + file.string() + "\" once").exit_code, 0);
  EXPECT_THAT(host.schtasks_keeps("calls.txt"), IsEmpty());
}

TEST_F(Flow, ASettingsFileThatIsMissingIsRefused) {
  EXPECT_EQ(host.run("--settings C:\\no\\such.properties once").exit_code, 78);
}

TEST_F(Flow, ASettingThatTheShellWouldInterpretIsRefused) {
  const velmora::Command_Result result =
      host.run("--set \"package.choco.upgrade_scheduler.options=/SC DAILY&exit\" once");

  EXPECT_EQ(result.exit_code, 78);
  EXPECT_THAT(result.output, HasSubstr("which cmd.exe would interpret"));
  EXPECT_THAT(host.choco_keeps("calls.txt"), IsEmpty());
}

TEST_F(Flow, AnUnknownCommandIsWrongUsage) {
  EXPECT_EQ(host.run("dance").exit_code, 64);
}

// --- Reports ---------------------------------------------------------------------------------------------

TEST_F(Flow, APlanNamesTheChangesOfTheNextCycleAndMakesNone) {
  const velmora::Command_Result result = host.run("plan");

  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.output, AllOf(HasSubstr("source add -n zant-velmora -s " + LOCATION),
                                   HasSubstr("schtasks.exe /CREATE")));
  EXPECT_THAT(host.choco_keeps("sources.txt"), IsEmpty());
  EXPECT_THAT(host.choco_keeps("packages.txt"), IsEmpty());
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), IsEmpty());
}

TEST_F(Flow, APlanOfAPurgeNamesWhatItWouldRemove) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  const velmora::Command_Result result = host.run("purge --plan");

  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.output, AllOf(HasSubstr("source remove"), HasSubstr("schtasks.exe /DELETE")));
  EXPECT_THAT(host.schtasks_keeps("tasks.txt"), ElementsAre(task));
}

TEST_F(Flow, StatusTellsWhatTheLastCycleDid) {
  host.choco_has("pins.txt", {PACKAGE});
  ASSERT_EQ(host.run("once").exit_code, 0);

  const velmora::Command_Result result = host.run("status");

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(
      result.output,
      AllOf(HasSubstr("package manager Chocolatey"),
            HasSubstr("Package             zant-velmora " MINDER_VERSION " installed"),
            HasSubstr("Repository          registered, in step"), HasSubstr("Hold                not held"),
            HasSubstr("Automatic upgrades  on, in step"), HasSubstr("by \"once\""), HasSubstr("succeeded"),
            // Chocolatey keeps nothing of its sources, and a status asks none.
            HasSubstr("Verdict             cannot be told: Chocolatey keeps nothing of its sources"),
            HasSubstr("[repository.not_asked]"), Not(HasSubstr("[tools.failed]"))));
}

TEST_F(Flow, StatusMissesATaskThatSomebodyDeleted) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.schtasks_has("tasks.txt", {});

  EXPECT_THAT(host.run("status").output, HasSubstr("[upgrades.out_of_step]"));
}

TEST_F(Flow, ACheckOfASoundHostFindsNothing) {
  EXPECT_EQ(host.run("check").exit_code, 0);

  ASSERT_EQ(host.run("once").exit_code, 0);

  EXPECT_EQ(host.run("check").exit_code, 0);
}

TEST_F(Flow, ACheckWithoutChocolateyNamesIt) {
  boost::filesystem::remove(host.choco());

  const velmora::Command_Result result = host.run("check");

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, AllOf(HasSubstr(host.choco().string()), HasSubstr("this command is missing"),
                                   HasSubstr("install Chocolatey, or correct minder.base_directory")));
}

// --- The verdict -----------------------------------------------------------------------------------------

// What stops the upgrade of a host that is set up and is offered a newer version.
struct Obstacle {
  std::string name;
  std::string file;
  Lines lines;
  bool is_schedulers;  ///< the file is one of schtasks', not of choco's
  std::string verdict;
  std::string code;
  std::string evidence;
  bool is_of_configuration = false;

  friend std::ostream& operator<<(std::ostream& stream, const Obstacle& obstacle) {
    return stream << obstacle.name;
  }
};

class FlowOfTheVerdict : public Flow, public testing::WithParamInterface<Obstacle> {
 protected:
  FlowOfTheVerdict() {
    EXPECT_EQ(host.run("once").exit_code, 0);
    host.choco_has("offers.txt", {PACKAGE + " 99.0"});
  }

  nlohmann::json why() const {
    const velmora::Command_Result result = host.run("why --online --json");
    EXPECT_EQ(result.exit_code, 0) << result.output;
    return nlohmann::json::parse(result.output, nullptr, false);
  }

  // As an administrator types it.
  int type(const std::string& remedy) const {
    const std::string minder = "package-minder ";
    return remedy.starts_with(minder)
               ? host.run(remedy.substr(minder.size())).exit_code
               : Command_Service({}).run_command(remedy, velmora::Run_Flag::WAIT_AND_CAPTURE).exit_code;
  }

  void spoil() const {
    if (GetParam().is_schedulers) {
      host.schtasks_has(GetParam().file, GetParam().lines);
    } else {
      host.choco_has(GetParam().file, GetParam().lines);
    }
  }
};

TEST_P(FlowOfTheVerdict, NamesTheCauseWithARemedyThatRemovesIt) {
  ASSERT_EQ(why().at("verdict"), "waiting");
  spoil();

  const nlohmann::json seen = why();

  EXPECT_EQ(seen.at("verdict"), GetParam().verdict);
  ASSERT_EQ(seen.at("causes").size(), 1U) << seen.dump(2);
  const nlohmann::json& cause = seen.at("causes").at(0);
  EXPECT_EQ(cause.at("code"), GetParam().code);
  EXPECT_THAT(cause.at("evidence").get<std::string>(), HasSubstr(GetParam().evidence));
  const bool is_checked = host.run("check").output.find("[" + GetParam().code + "]") != std::string::npos;
  EXPECT_EQ(is_checked, GetParam().is_of_configuration);

  EXPECT_EQ(type(cause.at("remedy")), 0) << cause.at("remedy");

  // A task that failed has not run anew, but its command line has.
  const bool is_upgraded = host.choco_keeps("packages.txt") == Lines{PACKAGE + " 99.0"};
  EXPECT_TRUE(is_upgraded || why().at("verdict") == "waiting") << why().dump(2);
}

INSTANTIATE_TEST_SUITE_P(
    Flow, FlowOfTheVerdict,
    testing::Values(
        Obstacle{"Pin", "pins.txt", {PACKAGE}, false, "blocked", "hold.held", "pin list: zant-velmora|"},
        Obstacle{"SourceMissing",
                 "sources.txt",
                 {},
                 false,
                 "blocked",
                 "repository.not_registered",
                 "source list: "},
        Obstacle{"SourceSwitchedOff",
                 "sources.txt",
                 {PACKAGE + " [Disabled] - " + LOCATION},
                 false,
                 "blocked",
                 "repository.switched_off",
                 "zant-velmora [Disabled] - ",
                 true},
        Obstacle{"TaskMissing", "tasks.txt", {}, true, "blocked", "timer.missing", "cannot find the file"},
        Obstacle{"TaskDisabled",
                 "disabled.txt",
                 {TASK},
                 true,
                 "blocked",
                 "timer.disabled",
                 "<Enabled>false</Enabled>"},
        Obstacle{"LastRunFailed",
                 "results.txt",
                 {TASK + "|-2147024894"},
                 true,
                 "cannot_be_told",
                 "run.failed",
                 "-2147024894"}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Flow, WhyAsksTheSourcesOnlyWhenToldTo) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.choco_has("offers.txt", {PACKAGE + " 99.0"});
  host.forget_calls();

  EXPECT_THAT(host.run("why").output,
              AllOf(HasSubstr("Verdict             cannot be told: Chocolatey keeps nothing of its sources"),
                    HasSubstr("Remedy, to type: package-minder why --online")));
  EXPECT_THAT(host.choco_keeps("calls.txt"), Not(Contains(HasSubstr("[outdated]"))));

  EXPECT_THAT(host.run("why --online").output,
              AllOf(HasSubstr("waiting: zant-velmora " MINDER_VERSION ", 99.0 is offered"),
                    HasSubstr("Offered             99.0")));
}

TEST_F(Flow, WhySaysWhatIsUpToDate) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  EXPECT_THAT(host.run("why --online").output,
              HasSubstr("Verdict             up to date: zant-velmora " MINDER_VERSION));
}

TEST_F(Flow, WhyNamesSourcesThatDoNotAnswerAndToolsThatFail) {
  ASSERT_EQ(host.run("once").exit_code, 0);
  host.choco_has("failures.txt", {"[outdated]"});
  EXPECT_THAT(host.run("why --online").output,
              AllOf(HasSubstr("cannot be told: Chocolatey's sources cannot be asked"),
                    HasSubstr("[server.unreachable]"), HasSubstr("Unable to do that now.")));

  host.choco_has("failures.txt", {"[pin]"});
  EXPECT_THAT(host.run("why --online").output,
              AllOf(HasSubstr("cannot be told: A command failed"), HasSubstr("[tools.failed]"),
                    HasSubstr("Unable to do that now.")));
}

TEST_F(Flow, StatusForMonitoringIsOneLineWithAnExitStatus) {
  ASSERT_EQ(host.run("once").exit_code, 0);

  const velmora::Command_Result untold = host.run("status --monitoring");

  EXPECT_EQ(untold.exit_code, 3);
  EXPECT_THAT(untold.output, testing::StartsWith("PACKAGE_MINDER UNKNOWN - cannot be told: "));

  ASSERT_EQ(host.run("hold").exit_code, 0);
  const velmora::Command_Result held = host.run("status --monitoring");
  EXPECT_EQ(held.exit_code, 2);
  EXPECT_THAT(held.output, testing::StartsWith("PACKAGE_MINDER CRITICAL - blocked: "));
}

// --- Other ways to run it --------------------------------------------------------------------------------

TEST_F(Flow, SettingsShowsWhereTheirValuesComeFrom) {
  EXPECT_THAT(host.run("settings").output, HasSubstr(LOCATION));
}

// --- Running ---------------------------------------------------------------------------------------------

class Flow_Of_A_Run : public Flow {
 protected:
  // Starts it, with its output going to a file, and returns when it minds.
  void start() {
    std::wstring line = boost::nowide::widen(host.minder("run"));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    const Handle output(::CreateFileW(log_file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inheritable, CREATE_ALWAYS, 0, nullptr));
    startup.hStdOutput = output.get();
    startup.hStdError = output.get();
    PROCESS_INFORMATION information = {};
    ASSERT_TRUE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                                 &information));
    ::CloseHandle(information.hThread);
    process = Handle(information.hProcess);
    process_id = information.dwProcessId;
    while (host.schtasks_keeps("tasks.txt").empty()) {
      ASSERT_EQ(::WaitForSingleObject(process.get(), 10), static_cast<DWORD>(WAIT_TIMEOUT))
          << contents(log_file);
    }
  }

  // Asks it to stop, and returns what it exits with.
  DWORD stop() {
    Poco::Process::requestTermination(process_id);
    ::WaitForSingleObject(process.get(), INFINITE);
    DWORD exit_code = 0;
    ::GetExitCodeProcess(process.get(), &exit_code);
    return exit_code;
  }

  const boost::filesystem::path log_file = host.base() / "output.txt";
  Handle process;
  DWORD process_id = 0;
};

TEST_F(Flow_Of_A_Run, ItMindsUntilItIsToldToStop) {
  start();

  EXPECT_EQ(stop(), 0U);
  EXPECT_THAT(host.choco_keeps("sources.txt"), ElementsAre(PACKAGE + " - " + LOCATION));
  EXPECT_THAT(contents(log_file),
              AllOf(HasSubstr("Minding zant-velmora, with 3600 s between cycles"), HasSubstr("Stopped\n")));
}

TEST_F(Flow_Of_A_Run, NoOtherProcessWorksBesideIt) {
  start();

  const velmora::Command_Result result = host.run("once");

  EXPECT_EQ(result.exit_code, 75);
  EXPECT_THAT(result.output, HasSubstr("another package-minder (process " + std::to_string(process_id) +
                                       ") is already running"));
  stop();
  EXPECT_EQ(host.run("once").exit_code, 0);
}

TEST_F(Flow_Of_A_Run, HoldAndReleaseWorkBesideIt) {
  start();

  EXPECT_EQ(host.run("hold").exit_code, 0);
  EXPECT_EQ(host.run("release").exit_code, 0);
  stop();
}

// --- The service -----------------------------------------------------------------------------------------

// The service manager starts it in surroundings of its own, which a stand-in for schtasks.exe is no part of.
class Flow_Of_A_Service : public Flow {
 protected:
  ~Flow_Of_A_Service() override { host.run("service remove"); }
};

TEST_F(Flow_Of_A_Service, ItIsInstalledStartedStoppedAndRemoved) {
  EXPECT_EQ(host.run("--set minder.automatic_upgrades=false service install").exit_code, 0);

  const velmora::Command_Result started = host.run("service start");
  EXPECT_EQ(started.exit_code, 0) << started.output;
  while (host.choco_keeps("sources.txt").empty()) {
    std::this_thread::yield();
  }

  EXPECT_EQ(host.run("service stop").exit_code, 0);
  EXPECT_EQ(host.run("once").exit_code, 0) << "nothing works there any more";
  EXPECT_EQ(host.run("service remove").exit_code, 0);
  EXPECT_EQ(host.run("service start").exit_code, 1) << "there is none any more";
}

}  // namespace

int main(int argc, char** argv) {
  set_up_process();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
