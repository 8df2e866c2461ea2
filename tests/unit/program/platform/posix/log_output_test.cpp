#include <program/platform/log_output.hpp>

#include <gtest/gtest.h>
#include <support/host_side/pipe.hpp>
#include <support/host_side/pseudo_terminal.hpp>

#include <sys/stat.h>

#include <cstdlib>
#include <string>

namespace zant::program {
namespace {

using log_output::Reader;
using velmora_host::test_support::Pipe;
using velmora_host::test_support::Pseudo_Terminal;

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

  EXPECT_EQ(log_output::reader_of(journal.writing_end()), Reader::JOURNAL);
  EXPECT_EQ(log_output::reader_of(other.writing_end()), Reader::OTHER) << "a redirected log";

  ::unsetenv("JOURNAL_STREAM");
  EXPECT_EQ(log_output::reader_of(journal.writing_end()), Reader::OTHER);
}

TEST(LogOutput, KnowsATerminal) {
  EXPECT_EQ(log_output::reader_of(Pseudo_Terminal().terminal()), Reader::TERMINAL);
}

TEST(LogOutput, WritesAll) {
  const Pipe pipe;

  log_output::write(pipe.writing_end(), "one text");

  EXPECT_EQ(pipe.read(), "one text");
}

TEST(LogOutput, WhatCannotBeWrittenIsLost) {
  constexpr int CLOSED = 999;

  EXPECT_NO_THROW(log_output::write(CLOSED, "text"));
}

}  // namespace
}  // namespace zant::program
