#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace zant::program {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Ended_Program {
  int exit_status;
  std::string output;
};

// The program as it is built.
Ended_Program call(const std::string& arguments, const std::string& before = "") {
  FILE* const stream = ::popen((before + PACKAGE_MINDER_PROGRAM " " + arguments).c_str(), "r");
  std::array<char, 4096> piece{};
  std::string output;
  while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), stream)) {
    output.append(piece.data(), size);
  }
  return {WEXITSTATUS(::pclose(stream)), output};
}

TEST(TheProgram, SaysWhichVersionItIs) {
  const auto ended = call("--version");

  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_THAT(ended.output, StartsWith("package-minder "));
}

TEST(TheProgram, ExitsWithWhatACommandLineDeserves) {
  const auto ended = call("twice --json 2> /dev/null");

  EXPECT_EQ(ended.exit_status, 64);
  EXPECT_THAT(ended.output, HasSubstr("\"wrong_usage\""));
}

TEST(TheProgram, ExitsWithWhatItsWorkCameTo) {
  EXPECT_EQ(call("status --settings /nowhere/settings 2> /dev/null").exit_status, 78);
  EXPECT_EQ(call("run --settings /nowhere/settings 2> /dev/null").exit_status, 78);
  EXPECT_THAT(call("check --json --settings /nowhere/settings 2> /dev/null").output,
              HasSubstr("\"bad_settings\""));
}

TEST(TheProgram, SaysThatAFileSizeLimitKeptItFromWriting) {
  const auto ended = call("--version 2>&1 > ended-at-a-limit; status=$?; rm ended-at-a-limit; exit $status",
                          "ulimit -f 0; ");

  EXPECT_EQ(ended.exit_status, 1);
  // A build that counts coverage says after it that it cannot write either.
  EXPECT_THAT(ended.output, StartsWith("package-minder: cannot write to standard output\n"));
}

TEST(TheProgram, FailsWhenWhatItPrintsCannotBeWritten) {
  EXPECT_EQ(call("--version > /dev/full 2> /dev/null").exit_status, 1);
  EXPECT_EQ(call("--help > /dev/full 2> /dev/null").exit_status, 1);
  EXPECT_EQ(call("check --help > /dev/full 2> /dev/null").exit_status, 1);
  EXPECT_EQ(call("twice --json > /dev/full 2> /dev/null").exit_status, 1);
  EXPECT_EQ(call("check --json --settings /nowhere/settings > /dev/full 2> /dev/null").exit_status, 1);
  EXPECT_EQ(call("--version 2>&1 >&-").output, "package-minder: cannot write to standard output\n");
}

TEST(TheProgram, RefusesAFifoInPlaceOfItsSettings) {
  EXPECT_EQ(call("check --json --settings /dev/stdin < /dev/null 2> /dev/null").exit_status, 78);
}

}  // namespace
}  // namespace zant::program
