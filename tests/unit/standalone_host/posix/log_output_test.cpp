#include <standalone_host/platform/log_output.hpp>

#include <gtest/gtest.h>
#include <pipe.hpp>

#include <sys/stat.h>

#include <cstdlib>
#include <string>

namespace zant::velmora::standalone_host {
namespace {

using test_support::Pipe;

void set_journal_stream(int descriptor) {
  struct stat status {};
  ASSERT_EQ(::fstat(descriptor, &status), 0);
  ::setenv("JOURNAL_STREAM", (std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino)).c_str(),
           1);
}

TEST(LogOutput, TheStreamThatTheServiceManagerNamesIsTheJournal) {
  const Pipe journal;
  const Pipe other;
  set_journal_stream(journal.writing_end());

  EXPECT_TRUE(Log_Output::is_journal(journal.writing_end()));
  EXPECT_FALSE(Log_Output::is_journal(other.writing_end())) << "a redirected log";

  ::unsetenv("JOURNAL_STREAM");
  EXPECT_FALSE(Log_Output::is_journal(journal.writing_end()));
}

TEST(LogOutput, APipeIsNoTerminal) {
  EXPECT_FALSE(Log_Output::is_terminal(Pipe().writing_end()));
}

TEST(LogOutput, WhatCannotBeWrittenIsLost) {
  constexpr int CLOSED = 999;

  EXPECT_NO_THROW(Log_Output::write(CLOSED, "text"));
}

}  // namespace
}  // namespace zant::velmora::standalone_host
