#include <program/platform/log_output.hpp>

#include <gtest/gtest.h>
#include <support/host_side/pipe.hpp>

#include <sys/stat.h>

#include <cstdlib>
#include <string>

namespace zant::program {
namespace {

using velmora_host::test_support::Pipe;

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

  EXPECT_TRUE(log_output::is_journal(journal.writing_end()));
  EXPECT_FALSE(log_output::is_journal(other.writing_end())) << "a redirected log";

  ::unsetenv("JOURNAL_STREAM");
  EXPECT_FALSE(log_output::is_journal(journal.writing_end()));
}

TEST(LogOutput, APipeIsNoTerminal) {
  EXPECT_FALSE(log_output::is_terminal(Pipe().writing_end()));
}

TEST(LogOutput, WhatCannotBeWrittenIsLost) {
  constexpr int CLOSED = 999;

  EXPECT_NO_THROW(log_output::write(CLOSED, "text"));
}

}  // namespace
}  // namespace zant::program
