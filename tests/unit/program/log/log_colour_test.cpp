#include <program/log/log_format.hpp>
#include <program/log/log_sink.hpp>
#include <program/platform/log_output.hpp>

#include <support/host_side/environment_variable.hpp>
#include <support/host_side/pseudo_terminal.hpp>

#include <zant/logging/source.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <string>

namespace zant::program {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using velmora_host::test_support::Environment_Variable;
using velmora_host::test_support::Pseudo_Terminal;
using zant::logging::severity_level;

constexpr bool WITH_COLOUR = true;

std::string coloured(severity_level severity) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  return format_for_terminal({std::chrono::system_clock::from_time_t(0), severity, "Class", "text"},
                             WITH_COLOUR);
}

TEST(LogColour, IsRedForErrorsYellowForWarningsAndBoldForWhatWasDone) {
  EXPECT_EQ(coloured(severity_level::fatal), "1970-01-01 00:00:00 \x1b[31mfatal   Class: text\x1b[0m\n");
  EXPECT_EQ(coloured(severity_level::error), "1970-01-01 00:00:00 \x1b[31merror   Class: text\x1b[0m\n");
  EXPECT_EQ(coloured(severity_level::warning), "1970-01-01 00:00:00 \x1b[33mwarning Class: text\x1b[0m\n");
  EXPECT_EQ(coloured(severity_level::notice), "1970-01-01 00:00:00 \x1b[1mnotice  Class: text\x1b[0m\n");
}

TEST(LogColour, IsNoneForTheRest) {
  EXPECT_EQ(coloured(severity_level::info), "1970-01-01 00:00:00 info    Class: text\n");
  EXPECT_EQ(coloured(severity_level::debug), "1970-01-01 00:00:00 debug   Class: text\n");
  EXPECT_EQ(coloured(severity_level::trace), "1970-01-01 00:00:00 trace   Class: text\n");
}

class LogOnATerminal : public ::testing::Test {
 protected:
  LogOnATerminal() { source_.init_("Some_Class", ""); }
  ~LogOnATerminal() override { ::unsetenv("JOURNAL_STREAM"); }

  std::string written_as(velmora_host::Log_Format format) {
    const Log_Sink sink(terminal_.terminal(), format, severity_level::info);
    ZANT_LOG(source_, severity_level::error) << "Something failed";
    return terminal_.read_line();
  }

  void take_terminal_for_journal() const {
    struct stat status {};
    ASSERT_EQ(::fstat(terminal_.terminal(), &status), 0);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    ::setenv("JOURNAL_STREAM", stream.c_str(), 1);
  }

  const Environment_Variable kind_{"TERM", "xterm"};
  const Environment_Variable no_color_{"NO_COLOR", nullptr};
  Pseudo_Terminal terminal_;
  zant::logging::Source source_;
};

TEST_F(LogOnATerminal, HasColour) {
  ASSERT_EQ(log_output::reader_of(terminal_.terminal()), log_output::Reader::TERMINAL);

  EXPECT_THAT(written_as(velmora_host::Log_Format::AUTO),
              EndsWith(" \x1b[31merror   Some_Class: Something failed\x1b[0m\r\n"));
  EXPECT_THAT(written_as(velmora_host::Log_Format::TERMINAL),
              EndsWith(" \x1b[31merror   Some_Class: Something failed\x1b[0m\r\n"));
}

TEST_F(LogOnATerminal, IsForTheJournalWhenTheSettingsSaySo) {
  EXPECT_EQ(written_as(velmora_host::Log_Format::JOURNAL), "<3>Some_Class: Something failed\r\n");
}

TEST_F(LogOnATerminal, IsForTheJournalOfItselfOnlyWhenTheSettingsLeaveItOpen) {
  take_terminal_for_journal();

  EXPECT_EQ(written_as(velmora_host::Log_Format::AUTO), "<3>Some_Class: Something failed\r\n");
  EXPECT_THAT(written_as(velmora_host::Log_Format::TERMINAL),
              EndsWith(" error   Some_Class: Something failed\r\n"))
      << "the journal shows sequences for colours as text";
}

TEST_F(LogOnATerminal, HasNoColourWhenTheUserWantsNone) {
  const Environment_Variable no_color("NO_COLOR", "1");

  EXPECT_THAT(written_as(velmora_host::Log_Format::AUTO),
              EndsWith(" error   Some_Class: Something failed\r\n"));
}

TEST_F(LogOnATerminal, HasColourWhenTheVariableAgainstItIsEmpty) {
  const Environment_Variable no_color("NO_COLOR", "");

  EXPECT_THAT(written_as(velmora_host::Log_Format::AUTO), HasSubstr("\x1b[31m"));
}

TEST_F(LogOnATerminal, HasNoColourWhereTheTerminalHasNone) {
  const Environment_Variable terminal("TERM", "dumb");

  EXPECT_THAT(written_as(velmora_host::Log_Format::AUTO),
              EndsWith(" error   Some_Class: Something failed\r\n"));
}

}  // namespace
}  // namespace zant::program
