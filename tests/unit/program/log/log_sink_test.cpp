#include <program/log/log_sink.hpp>

#include <zant/logging/source.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/host_side/pipe.hpp>

#include <string>

namespace zant::program {
namespace {

using velmora_host::test_support::Pipe;
using zant::logging::severity_level;

class LogSink : public ::testing::Test {
 protected:
  LogSink() { source_.init_("Some_Class", ""); }

  void log(severity_level severity, const std::string& message) { ZANT_LOG(source_, severity) << message; }

  Pipe pipe_;
  zant::logging::Source source_;
};

TEST_F(LogSink, WritesRecordsForTheJournal) {
  const Log_Sink sink(pipe_.writing_end(), velmora_host::Log_Format::JOURNAL, severity_level::info);

  log(severity_level::notice, "Something happened");

  EXPECT_EQ(pipe_.read(), "<5>Some_Class: Something happened\n");
}

TEST_F(LogSink, WritesRecordsForAPersonWithoutColourWhereThereIsNoTerminal) {
  const Log_Sink sink(pipe_.writing_end(), velmora_host::Log_Format::AUTO, severity_level::info);

  log(severity_level::error, "Something failed");

  EXPECT_THAT(pipe_.read(), ::testing::EndsWith(" error   Some_Class: Something failed\n"));
}

TEST_F(LogSink, DropsWhatIsLessGraveThanWanted) {
  const Log_Sink sink(pipe_.writing_end(), velmora_host::Log_Format::JOURNAL, severity_level::warning);

  log(severity_level::notice, "dropped");
  log(severity_level::warning, "kept");

  EXPECT_EQ(pipe_.read(), "<4>Some_Class: kept\n");
}

TEST_F(LogSink, WritesNothingAfterItsEnd) {
  const Log_Sink other(Pipe().writing_end(), velmora_host::Log_Format::JOURNAL, severity_level::info);
  { const Log_Sink sink(pipe_.writing_end(), velmora_host::Log_Format::JOURNAL, severity_level::info); }

  log(severity_level::fatal, "lost");

  EXPECT_EQ(pipe_.read(), "");
}

}  // namespace
}  // namespace zant::program
