#include <zant/velmora_host/services/command_service.hpp>

#include <support/captured_log.hpp>
#include <windows/scratch_directory.hpp>

#include <zant/velmora_host/services/windows/handle.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>

namespace velmora = zant::velmora;
using namespace zant::velmora_host;
using zant::velmora::test_support::Captured_Log;
using zant::velmora::test_support::Captured_Record;
using namespace zant::velmora_host::test_support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr DWORD LONG_ENOUGH_MILLISECONDS = 60 * 1000;

// An event that "probe hold" waits for, and the file in which it says that it does.
class Holder {
 public:
  ~Holder() { release(); }

  void release() const { ::SetEvent(event_.get()); }

  std::string arguments() const { return name_ + " \"" + file_.string() + "\""; }

  // Waits until it runs. The file can be there and refuse to be read: whoever gives it its name still has it
  // open.
  Handle process() const {
    std::string id;
    while ((id = contents(file_)).empty()) {
      std::this_thread::yield();
    }
    return Handle(::OpenProcess(SYNCHRONIZE, FALSE, std::stoul(id)));
  }

 private:
  Scratch_Directory directory_;
  boost::filesystem::path file_ = directory_ / "process id";
  std::string name_ = boost::filesystem::unique_path("minder-%%%%%%%%").string();
  Handle event_{::CreateEventA(nullptr, TRUE, FALSE, name_.c_str())};
};

class WindowsCommandService : public testing::Test {
 protected:
  velmora::Command_Result run(const std::string& command) {
    return system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  }

  Scratch_Directory directory;
  const std::string probe = "\"" + built_program("probe.exe").string() + "\"";
  Captured_Log log;
  Command_Service system{Command_Service::Options{}};
};

TEST_F(WindowsCommandService, ReturnsWhatBothStreamsGotInTheOrderInWhichItCame) {
  EXPECT_EQ(run(probe + " streams").output, "out 1\r\nerr 1\r\nout 2\r\nerr 2\r\nout 3\r\nerr 3\r\n");
}

TEST_F(WindowsCommandService, ReturnsExitCodesAsTheyAre) {
  EXPECT_EQ(run(probe + " exit 0").exit_code, 0);
  EXPECT_EQ(run(probe + " exit 1641").exit_code, 1641);
  EXPECT_EQ(run(probe + " exit -1").exit_code, -1);
  EXPECT_EQ(run(probe + " exit 3221225477").exit_code, static_cast<int>(0xC0000005U));
}

TEST_F(WindowsCommandService, KeepsAQuotedPathWithBlanksAndParenthesesWhole) {
  const auto program = directory / "choco.exe";
  boost::filesystem::copy_file(built_program("probe.exe"), program);

  EXPECT_EQ(run("\"" + program.string() + "\" arguments pin list").output, "[pin][list]");
}

TEST_F(WindowsCommandService, KeepsQuotedArgumentsBesideAQuotedPath) {
  EXPECT_EQ(run(probe + " arguments \"a b\" c \"(d)\"").output, "[a b][c][(d)]");
}

TEST_F(WindowsCommandService, HandsTheProgramLineOfATaskOverAsOneArgumentWithItsInnerQuotes) {
  EXPECT_EQ(
      run(probe + " arguments /TN \"Name\" /TR \"\\\"C:\\x y (x86)\\choco.exe\\\" upgrade p -y\" /SC DAILY")
          .output,
      "[/TN][Name][/TR][\"C:\\x y (x86)\\choco.exe\" upgrade p -y][/SC][DAILY]");
}

TEST_F(WindowsCommandService, RunsLinesThroughAShell) {
  EXPECT_EQ(run(probe + " exit 3 || echo no").output, "no\r\n");
  EXPECT_EQ(run(probe + " exit 0 && echo yes").output, "yes\r\n");
  // The C library takes the line's end for one character.
  EXPECT_EQ(run("echo through a pipe|" + probe + " input").output, "15");
}

TEST_F(WindowsCommandService, GivesCommandsAnEmptyInput) {
  EXPECT_EQ(run(probe + " input").output, "0");
}

TEST_F(WindowsCommandService, RunsCommandsInTheWindowsDirectory) {
  std::wstring windows(MAX_PATH, L'\0');
  windows.resize(::GetSystemWindowsDirectoryW(windows.data(), MAX_PATH));

  EXPECT_EQ(run("cd").output, boost::filesystem::path(windows).string() + "\r\n");
}

TEST_F(WindowsCommandService, TakesPathsInUtf8) {
  const auto named = directory / "tête ξ";
  boost::filesystem::create_directories(named);
  boost::filesystem::copy_file(built_program("probe.exe"), named / "probe.exe");

  EXPECT_EQ(run("\"" + (named / "probe.exe").string() + "\" arguments x").output, "[x]");
}

TEST_F(WindowsCommandService, ReturnsTextOfTheConsolesCodePageAsUtf8) {
  // Above 127 every code page but UTF-8 has a character here, and in UTF-8 it is none alone.
  const std::string output = run(probe + " raw 164").output;

  EXPECT_GT(output.size(), 1U);
}

TEST_F(WindowsCommandService, LogsWhatAFailedCommandPrinted) {
  run("echo No such thing&exit 4");

  EXPECT_THAT(log.messages(4),
              ElementsAre("Command ended with exit code 4 | Command: echo No such thing&exit 4 | "
                          "Output: No such thing"));
  EXPECT_EQ(log.records().back().channel, "Command_Service");
}

TEST_F(WindowsCommandService, KeepsQuietAboutACommandThatSucceeds) {
  run("echo all is well");

  EXPECT_THAT(log.messages(4), IsEmpty());
  EXPECT_THAT(log.messages(5), IsEmpty());
}

TEST_F(WindowsCommandService, FailsACommandForWhichThereIsNoProgram) {
  EXPECT_NE(run("\"C:\\no such directory\\choco.exe\" pin list").exit_code, 0);
}

TEST_F(WindowsCommandService, RefusesACommandOfSeveralLines) {
  const velmora::Command_Result result = run("echo one\necho two");

  EXPECT_EQ(result.exit_code, 126);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(log.messages(5),
              ElementsAre("Could not start a command: a command is one line of text | Command: "
                          "echo one\necho two"));
}

TEST_F(WindowsCommandService, RefusesACommandThatIsNotUtf8) {
  EXPECT_EQ(run("echo \xff").exit_code, 126);
  EXPECT_THAT(log.messages(5),
              ElementsAre(StartsWith("Could not start a command: a command is UTF-8 | Command: echo ")));
}

TEST_F(WindowsCommandService, ReturnsALongOutputWhole) {
  EXPECT_EQ(run(probe + " bytes 1000000").output.size(), 1000000U);
}

TEST_F(WindowsCommandService, CutsAnOutputLongerThanItsLimit) {
  Command_Service::Options options;
  options.output_limit = 100;
  Command_Service short_of_memory(options);

  const velmora::Command_Result result =
      short_of_memory.run_command(probe + " bytes 1000000", velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, std::string(100, 'x'));
  EXPECT_THAT(
      log.messages(4),
      ElementsAre(StartsWith("A command printed more than 100 bytes, the rest is dropped | Command: ")));
}

TEST_F(WindowsCommandService, IsDoneWhenTheShellIsEvenIfSomethingKeepsItsOutputOpen) {
  const Holder holder;

  const velmora::Command_Result result = run("start \"\" /b " + probe + " hold " + holder.arguments());

  EXPECT_EQ(result.exit_code, 0);
  const Handle left_behind = holder.process();
  EXPECT_EQ(::WaitForSingleObject(left_behind.get(), 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "it runs on";
  holder.release();
  EXPECT_EQ(::WaitForSingleObject(left_behind.get(), LONG_ENOUGH_MILLISECONDS), WAIT_OBJECT_0);
}

TEST_F(WindowsCommandService, DoesNotLetConcurrentCommandsWaitForEachOther) {
  const Holder holder;
  auto waiting = std::async(std::launch::async, [&] { return run(probe + " hold " + holder.arguments()); });
  holder.process();

  EXPECT_EQ(run("echo quick").output, "quick\r\n");
  EXPECT_EQ(waiting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);

  holder.release();
  EXPECT_EQ(waiting.get().exit_code, 0);
}

TEST_F(WindowsCommandService, EndsACommandThatTakesTooLongWithEverythingItStarted) {
  const Holder holder;
  Command_Service::Options options;
  options.time_limit = std::chrono::seconds(5);
  Command_Service impatient(options);
  const std::string command = probe + " parent " + holder.arguments();
  auto started = std::async(std::launch::async, [&] { return holder.process(); });

  const velmora::Command_Result result = impatient.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_EQ(result.exit_code, 124);
  EXPECT_EQ(::WaitForSingleObject(started.get().get(), LONG_ENOUGH_MILLISECONDS), WAIT_OBJECT_0);
  EXPECT_THAT(log.messages(5),
              ElementsAre("Ending a command that takes longer than 5 s | Command: " + command));
}

TEST_F(WindowsCommandService, WaitsForACommandThatMustNotBeEnded) {
  const Holder holder;
  Command_Service::Options options;
  options.time_limit = std::chrono::milliseconds(1);
  options.runs_to_its_end = [](const std::string& line) { return line.find(" hold ") != std::string::npos; };
  log.on_record([&holder](const Captured_Record& record) {
    if (record.severity == 4) {
      holder.release();
    }
  });
  Command_Service patient(options);
  const std::string command = probe + " hold " + holder.arguments();

  EXPECT_EQ(patient.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE).exit_code, 0);

  EXPECT_THAT(log.messages(4),
              ElementsAre("A command that must not be ended takes longer than 0.001 s, waiting for its end | "
                          "Command: " +
                          command));
}

TEST_F(WindowsCommandService, AddsVariablesToTheEnvironmentOfTheProcess) {
  ::SetEnvironmentVariableW(L"MINDER_KEPT", L"kept");
  ::SetEnvironmentVariableW(L"MINDER_REPLACED", L"old");
  Command_Service::Options options;
  options.environment = {{"minder_replaced", "new"}, {"MINDER_ADDED", "tête"}};
  Command_Service service(options);
  ::SetEnvironmentVariableW(L"MINDER_KEPT", nullptr);
  ::SetEnvironmentVariableW(L"MINDER_REPLACED", nullptr);

  const velmora::Command_Result result = service.run_command(
      "echo %MINDER_KEPT% %MINDER_REPLACED% %MINDER_ADDED%", velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_EQ(result.output, "kept new tête\r\n");
}

}  // namespace
