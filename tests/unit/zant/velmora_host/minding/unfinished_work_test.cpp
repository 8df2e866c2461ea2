#include <zant/velmora_host/minding/unfinished_work.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zant::velmora_host {
namespace {

using test_support::Fake_Host_Filesystem;
using Path = boost::filesystem::path;

bool all(const Path& /*path*/) {
  return true;
}

bool none(const Path& /*path*/) {
  return false;
}

class UnfinishedWork : public ::testing::Test {
 protected:
  static inline const Path STATE = "/var/lib/minder";
  static inline const Path JOURNAL = STATE / "unfinished";
  static inline const Path LIST = "/etc/apt/ours.list";
  static inline const Path DROP_INS = "/etc/systemd/timer.d";

  UnfinishedWork() { disk->fake().add_directory(STATE); }

  Unfinished_Work next() const { return {disk, STATE}; }
  std::string journal() const { return disk->fake().contents(JOURNAL).value_or("(none)"); }

  std::shared_ptr<Fake_Host_Filesystem> disk = std::make_shared<Fake_Host_Filesystem>();
};

TEST_F(UnfinishedWork, IsNoneAtFirst) {
  EXPECT_FALSE(next().was_touched(LIST));
  EXPECT_EQ(journal(), "(none)");
}

TEST_F(UnfinishedWork, IsNotWhatThisWorkHasTouched) {
  auto work = next();

  work.note(LIST);

  EXPECT_FALSE(work.was_touched(LIST));
  EXPECT_EQ(journal(), "/etc/apt/ours.list\n");
}

TEST_F(UnfinishedWork, IsWhatAKilledProcessHasTouched) {
  next().note(LIST);

  EXPECT_TRUE(next().was_touched(LIST));
}

TEST_F(UnfinishedWork, IsEverythingInADirectoryThatWasTouched) {
  next().note(DROP_INS);

  EXPECT_TRUE(next().was_touched(DROP_INS / "calendar.conf"));
}

TEST_F(UnfinishedWork, IsDoneAgainForADirectoryWithAllThatIsInIt) {
  next().note(DROP_INS / "calendar.conf");
  auto work = next();

  work.note(DROP_INS);

  EXPECT_FALSE(work.was_touched(DROP_INS / "calendar.conf"));
  work.end(all);
  EXPECT_EQ(journal(), "(none)");
}

TEST_F(UnfinishedWork, EndsWhereItIsFinished) {
  auto work = next();
  work.note(LIST);
  work.note(DROP_INS);

  work.end([](const Path& path) { return path == LIST; });

  EXPECT_FALSE(work.was_touched(LIST));
  EXPECT_TRUE(work.was_touched(DROP_INS));
  EXPECT_EQ(journal(), "/etc/systemd/timer.d\n");
}

TEST_F(UnfinishedWork, EndsForWhatEarlierWorkHasTouchedToo) {
  next().note(LIST);
  auto work = next();

  work.end(all);

  EXPECT_FALSE(work.was_touched(LIST));
  EXPECT_EQ(journal(), "(none)");
}

TEST_F(UnfinishedWork, WritesNothingTwice) {
  auto work = next();
  work.note(LIST);
  work.end(none);
  disk->fake().fail("write_file /var/lib/minder/unfinished (0)");

  work.note(LIST);

  EXPECT_FALSE(work.was_touched(LIST));
}

TEST_F(UnfinishedWork, IsTriedAgainWhenItsEndCouldNotBeWritten) {
  auto work = next();
  work.note(LIST);
  disk->fake().fail("remove /var/lib/minder/unfinished");
  work.end(all);
  EXPECT_EQ(journal(), "/etc/apt/ours.list\n");

  work.end(all);

  EXPECT_EQ(journal(), "(none)");
}

TEST_F(UnfinishedWork, ThatCannotBeNotedMustNotBegin) {
  auto work = next();
  disk->fake().fail("write_file /var/lib/minder/unfinished (0)");

  EXPECT_THROW(work.note(LIST), std::runtime_error);

  EXPECT_EQ(journal(), "(none)");
}

}  // namespace
}  // namespace zant::velmora_host
