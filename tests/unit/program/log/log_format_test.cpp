#include <program/log/log_format.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace zant::program {
namespace {

using zant::logging::severity_level;

constexpr bool IN_COLOUR = true;
constexpr bool PLAIN = false;

Log_Entry entry(severity_level severity, const std::string& message) {
  return {std::chrono::system_clock::from_time_t(1700000000), severity, "APT_Package", message};
}

class TerminalFormat : public ::testing::Test {
 protected:
  TerminalFormat() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }
};

TEST_F(TerminalFormat, HasTimeSeverityChannelAndMessage) {
  EXPECT_EQ(format_for_terminal(entry(severity_level::info, "Something happened"), PLAIN),
            "2023-11-14 22:13:20 info    APT_Package: Something happened\n");
  EXPECT_EQ(format_for_terminal(entry(severity_level::warning, "Something happened"), PLAIN),
            "2023-11-14 22:13:20 warning APT_Package: Something happened\n");
}

TEST_F(TerminalFormat, ColoursWhatMattersAndEndsTheColour) {
  EXPECT_EQ(format_for_terminal(entry(severity_level::error, "text"), IN_COLOUR),
            "2023-11-14 22:13:20 \x1b[31merror   APT_Package: text\x1b[0m\n");
  EXPECT_EQ(format_for_terminal(entry(severity_level::info, "text"), IN_COLOUR),
            "2023-11-14 22:13:20 info    APT_Package: text\n");
}

TEST_F(TerminalFormat, IndentsFurtherLines) {
  EXPECT_EQ(format_for_terminal(entry(severity_level::info, "first\nsecond"), PLAIN),
            "2023-11-14 22:13:20 info    APT_Package: first\n    second\n");
}

TEST_F(TerminalFormat, DoesNotPassEscapeSequencesOfAMessageToTheTerminal) {
  EXPECT_EQ(format_for_terminal(entry(severity_level::info, "\x1b]0;title\a"), PLAIN),
            "2023-11-14 22:13:20 info    APT_Package: \\x1b]0;title\\x07\n");
}

TEST(JournalFormat, MapsEachSeverityToItsPriority) {
  EXPECT_EQ(format_for_journal(entry(severity_level::trace, "text")), "<7>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::debug, "text")), "<7>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::info, "text")), "<6>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::notice, "text")), "<5>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::warning, "text")), "<4>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::error, "text")), "<3>APT_Package: text\n");
  EXPECT_EQ(format_for_journal(entry(severity_level::fatal, "text")), "<2>APT_Package: text\n");
}

TEST(JournalFormat, KeepsAMessageOfSeveralLinesOneRecord) {
  EXPECT_EQ(format_for_journal(entry(severity_level::error, "first\n<0>second\n")),
            "<3>APT_Package: first | <0>second | \n");
}

}  // namespace
}  // namespace zant::program
