#pragma once

#include <zant/velmora/host/system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace zant::velmora_host::contract {

/// What the library relies on in a command service, on every operating system. See filesystem_contract.hpp
/// for how a server runs it. The commands change nothing on the host.
///
/// @tparam Host is made anew for each test, and gives a `system()` to be tested.
template <typename Host>
class SystemContract : public ::testing::Test {
 protected:
  velmora::Command_Result run(const std::string& command) {
    return host_.system().run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  }
  std::string output_of(const std::string& command) { return run(command).output; }
  int status_of(const std::string& command) { return run(command).exit_code; }

 private:
  Host host_;
};

TYPED_TEST_SUITE_P(SystemContract);

TYPED_TEST_P(SystemContract, ReturnsWhatACommandPrints) {
  const velmora::Command_Result result = this->run("echo text");

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, ::testing::AnyOf("text\n", "text\r\n"));
}

TYPED_TEST_P(SystemContract, ReturnsTheExitStatusOfTheCommand) {
  EXPECT_EQ(this->status_of("exit 0"), 0);
  EXPECT_EQ(this->status_of("exit 1"), 1);
  EXPECT_EQ(this->status_of("exit 42"), 42);
}

TYPED_TEST_P(SystemContract, AFailedCommandStillHasItsOutput) {
  const velmora::Command_Result result = this->run("echo text&& exit 3");

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_THAT(result.output, ::testing::StartsWith("text"));
}

TYPED_TEST_P(SystemContract, AChainOfCommandsRunsThemInOrder) {
  EXPECT_THAT(this->output_of("echo one&& echo two"), ::testing::ContainsRegex("one\r?\ntwo\r?\n"));
}

TYPED_TEST_P(SystemContract, ACommandThatDoesNotExistHasFailed) {
  EXPECT_NE(this->status_of("no-such-command-anywhere"), 0);
}

TYPED_TEST_P(SystemContract, ACommandThatCannotBeStartedHasFailed) {
  // Longer than any operating system takes.
  const velmora::Command_Result result = this->run("echo " + std::string(200000, 'x'));

  EXPECT_NE(result.exit_code, 0);
  EXPECT_EQ(result.output, "");
}

TYPED_TEST_P(SystemContract, OneCommandLeavesNothingForTheNext) {
  this->run("exit 7");

  const velmora::Command_Result result = this->run("echo text");

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, ::testing::StartsWith("text"));
}

TYPED_TEST_P(SystemContract, SeveralThreadsGetTheirOwnResults) {
  std::vector<std::jthread> threads;
  for (int number = 1; number <= 4; ++number) {
    threads.emplace_back([this, number] {
      for (int round = 0; round < 5; ++round) {
        const std::string text = "thread" + std::to_string(number) + "round" + std::to_string(round);
        const auto result = this->run("echo " + text + "&& exit " + std::to_string(number));
        EXPECT_THAT(result.output, ::testing::AnyOf(text + "\n", text + "\r\n"));
        EXPECT_EQ(result.exit_code, number);
      }
    });
  }
}

REGISTER_TYPED_TEST_SUITE_P(SystemContract, ReturnsWhatACommandPrints, ReturnsTheExitStatusOfTheCommand,
                            AFailedCommandStillHasItsOutput, AChainOfCommandsRunsThemInOrder,
                            ACommandThatDoesNotExistHasFailed, ACommandThatCannotBeStartedHasFailed,
                            OneCommandLeavesNothingForTheNext, SeveralThreadsGetTheirOwnResults);

/// What the library relies on in the command service of a POSIX host: its command lines are written for bash.
///
/// @tparam Host as for `SystemContract`.
template <typename Host>
class BashContract : public SystemContract<Host> {};

TYPED_TEST_SUITE_P(BashContract);

TYPED_TEST_P(BashContract, UnderstandsTheSyntaxOfTheLibrary) {
  EXPECT_EQ(this->status_of("echo hidden &> /dev/null"), 0);
  EXPECT_EQ(this->output_of("echo hidden &> /dev/null"), "");
  EXPECT_EQ(this->output_of("[[ text == t* ]] && echo $(echo inner)"), "inner\n");
  EXPECT_EQ(this->status_of("! echo zant-velmora | grep -q ^zant-velmora$"), 1);
  EXPECT_EQ(this->status_of("test ! -d / || echo text | grep -q text"), 0);
}

TYPED_TEST_P(BashContract, APipelineHasTheExitStatusOfItsLastCommand) {
  EXPECT_EQ(this->status_of("false | true"), 0);
  EXPECT_EQ(this->status_of("true | false"), 1);
}

TYPED_TEST_P(BashContract, QuotesReachTheShellUnchanged) {
  EXPECT_EQ(this->output_of("printf '%s|' 'two words' \"it's\" \\$HOME"), "two words|it's|$HOME|");
}

TYPED_TEST_P(BashContract, ErrorTextIsNotPartOfTheOutput) {
  EXPECT_EQ(this->output_of("echo out; echo error >&2; echo more"), "out\nmore\n");
}

TYPED_TEST_P(BashContract, LongOutputIsReturnedWhole) {
  EXPECT_EQ(this->output_of("head -c 1000000 /dev/zero | tr '\\0' x"), std::string(1000000, 'x'));
}

TYPED_TEST_P(BashContract, ACommandThatReadsItsInputFindsItsEnd) {
  EXPECT_EQ(this->status_of("cat"), 0);
}

TYPED_TEST_P(BashContract, MessagesAreNotTranslated) {
  EXPECT_EQ(this->output_of("LANGUAGE= ls /no-such-directory-anywhere 2>&1 | cut -d: -f3"),
            " No such file or directory\n");
}

TYPED_TEST_P(BashContract, AChainOfCommandsEndsWithTheFirstThatFails) {
  EXPECT_NE(this->status_of("no-such-command-anywhere && exit 0"), 0);
  EXPECT_EQ(this->output_of("false && echo text"), "");
}

REGISTER_TYPED_TEST_SUITE_P(BashContract, UnderstandsTheSyntaxOfTheLibrary,
                            AChainOfCommandsEndsWithTheFirstThatFails,
                            APipelineHasTheExitStatusOfItsLastCommand, QuotesReachTheShellUnchanged,
                            ErrorTextIsNotPartOfTheOutput, LongOutputIsReturnedWhole,
                            ACommandThatReadsItsInputFindsItsEnd, MessagesAreNotTranslated);

// The service of a Windows host is not one of bash.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BashContract);

}  // namespace zant::velmora_host::contract
