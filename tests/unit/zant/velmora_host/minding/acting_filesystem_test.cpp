#include <zant/velmora_host/minding/acting_filesystem.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using test_support::Fake_Host_Filesystem;
using Path = boost::filesystem::path;

class ActingFilesystem : public ::testing::Test {
 protected:
  static constexpr int OVERWRITE = velmora::Copy_Option::OVERWRITE_EXISTING;
  static inline const Path CONF = "/etc/apt/apt.conf.d";
  static inline const Path BACKUPS = "/etc/apt/apt.conf.d/.backups";
  static inline const Path STATE = "/var/lib/minder";

  ActingFilesystem() {
    disk->fake().add_directory(STATE);
    disk->fake().add_directory("/etc/systemd");
    disk->fake().add_file(CONF / "20auto", "the host's 20");
    disk->fake().add_file(CONF / "50upgrades", "the host's 50");
    start();
  }

  // As a new process finds the disk.
  void start() {
    work = std::make_shared<Unfinished_Work>(disk, STATE);
    files = std::make_unique<Acting_Filesystem>(disk, work, std::vector<Path>{BACKUPS}, STATE);
    files->remove_leftovers();
  }

  std::string text_of(const Path& path) const { return disk->fake().contents(path).value_or("(missing)"); }
  std::size_t back_up() {
    return files->copy_files({CONF / "20auto", CONF / "50upgrades", CONF / "75missing"}, BACKUPS, OVERWRITE);
  }

  std::shared_ptr<Fake_Host_Filesystem> disk = std::make_shared<Fake_Host_Filesystem>();
  std::shared_ptr<Unfinished_Work> work;
  std::unique_ptr<Acting_Filesystem> files;
};

template <typename Act>
std::string words_of(Act act) {
  try {
    act();
    return "(nothing was thrown)";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST_F(ActingFilesystem, BackupsAreThereOnceAllCopiesAreMade) {
  EXPECT_TRUE(files->create_directories(BACKUPS));
  EXPECT_FALSE(files->exists(BACKUPS));

  EXPECT_EQ(back_up(), 2U);

  EXPECT_TRUE(files->exists(BACKUPS));
  EXPECT_EQ(text_of(BACKUPS / "20auto"), "the host's 20");
  EXPECT_EQ(text_of(BACKUPS / "50upgrades"), "the host's 50");
  EXPECT_FALSE(disk->exists(BACKUPS.string() + ".new"));
}

TEST_F(ActingFilesystem, ACopyForTheBackupsThatFailsEndsTheWorkWithoutBackups) {
  disk->fake().fail_copies_of(CONF / "50upgrades");
  files->create_directories(BACKUPS);

  EXPECT_EQ(words_of([this] { back_up(); }),
            "Could not keep a copy of /etc/apt/apt.conf.d/50upgrades; nothing is changed");

  EXPECT_FALSE(files->exists(BACKUPS));
}

TEST_F(ActingFilesystem, BackupsThatCannotBePutInPlaceEndTheWork) {
  disk->fake().fail("move /etc/apt/apt.conf.d/.backups.new -> /etc/apt/apt.conf.d/.backups");
  files->create_directories(BACKUPS);

  EXPECT_EQ(words_of([this] { back_up(); }),
            "Could not keep copies in /etc/apt/apt.conf.d/.backups; nothing is changed");
}

TEST_F(ActingFilesystem, BackupsThatAKillLeftUnfinishedAreMadeAnew) {
  disk->fake().add_file(BACKUPS.string() + ".new/20auto", "torn");
  start();
  EXPECT_FALSE(disk->exists(BACKUPS.string() + ".new"));

  files->create_directories(BACKUPS);
  back_up();

  EXPECT_EQ(text_of(BACKUPS / "20auto"), "the host's 20");
}

TEST_F(ActingFilesystem, ACopyOutOfTheBackupsThatFailsEndsTheWorkAndKeepsThem) {
  disk->fake().add_file(BACKUPS / "20auto", "the host's 20");
  disk->fake().fail_copies_of(BACKUPS / "20auto");

  EXPECT_EQ(words_of([this] { files->copy_file(BACKUPS / "20auto", CONF / "20auto", OVERWRITE); }),
            "Could not put /etc/apt/apt.conf.d/20auto back; its copy is /etc/apt/apt.conf.d/.backups/20auto");
}

TEST_F(ActingFilesystem, BackupsGoAtOnce) {
  disk->fake().add_file(BACKUPS / "20auto", "the host's 20");
  disk->fake().fail("remove_all /etc/apt/apt.conf.d/.backups.old", 2);

  EXPECT_EQ(words_of([this] { files->remove_all(BACKUPS); }),
            "Could not remove /etc/apt/apt.conf.d/.backups.old");

  EXPECT_FALSE(files->exists(BACKUPS));
  EXPECT_EQ(text_of(BACKUPS.string() + ".old/20auto"), "the host's 20");
  start();
  EXPECT_FALSE(disk->exists(BACKUPS.string() + ".old"));
}

TEST_F(ActingFilesystem, BackupsThatCannotGoEndTheWork) {
  disk->fake().add_file(BACKUPS / "20auto", "the host's 20");
  disk->fake().fail("move /etc/apt/apt.conf.d/.backups -> /etc/apt/apt.conf.d/.backups.old");

  EXPECT_EQ(words_of([this] { files->remove_all(BACKUPS); }),
            "Could not remove /etc/apt/apt.conf.d/.backups");

  EXPECT_EQ(text_of(BACKUPS / "20auto"), "the host's 20");
}

TEST_F(ActingFilesystem, AFileThatStaysAlthoughItWasToGoEndsTheWork) {
  disk->fake().fail("remove /etc/apt/apt.conf.d/20auto");
  EXPECT_EQ(words_of([this] { files->remove(CONF / "20auto"); }),
            "Could not remove /etc/apt/apt.conf.d/20auto");

  disk->fake().fail("remove [/etc/apt/apt.conf.d/20auto]");
  EXPECT_EQ(words_of([this] { files->remove(std::vector{CONF / "20auto"}); }),
            "Could not remove /etc/apt/apt.conf.d/20auto");
}

TEST_F(ActingFilesystem, RemovingWhatIsMissingIsNoFailure) {
  EXPECT_FALSE(files->remove(CONF / "missing"));
  files->remove(std::vector{CONF / "missing"});
}

TEST_F(ActingFilesystem, ATextThatCannotBeWrittenEndsTheWork) {
  disk->fake().fail("write_file /var/lib/minder/list (0)");

  EXPECT_EQ(words_of([this] { files->write_file(STATE / "list", "text", velmora::Write_Flag::REPLACE); }),
            "Could not write /var/lib/minder/list");
}

TEST_F(ActingFilesystem, NothingIsTouchedThatCannotBeNotedFirst) {
  disk->fake().fail("write_file /var/lib/minder/unfinished (0)");

  EXPECT_EQ(words_of([this] { files->copy_file(STATE / "staged", CONF / "20auto", OVERWRITE); }),
            "Nothing is changed, because it cannot be noted in /var/lib/minder/unfinished");

  EXPECT_EQ(text_of(CONF / "20auto"), "the host's 20");
}

TEST_F(ActingFilesystem, WhatIsTouchedIsNotedUntilTheWorkHasSucceeded) {
  disk->fake().add_file(STATE / "staged", "ours");

  files->copy_file(STATE / "staged", CONF / "20auto", OVERWRITE);
  files->copy_files({STATE / "staged"}, CONF, OVERWRITE);
  files->remove(CONF / "50upgrades");
  EXPECT_EQ(text_of(STATE / "unfinished"),
            "/etc/apt/apt.conf.d/20auto\n/etc/apt/apt.conf.d/50upgrades\n/etc/apt/apt.conf.d/staged\n");
  work->end([](const Path&) { return false; });
  EXPECT_TRUE(disk->exists(STATE / "unfinished"));
  work->end([](const Path&) { return true; });

  EXPECT_FALSE(disk->exists(STATE / "unfinished"));
}

TEST_F(ActingFilesystem, AFileWithoutTheCommonAccessIsDifferentWhateverItSays) {
  disk->fake().add_file(STATE / "staged", "the host's 20");
  EXPECT_TRUE(files->files_equal(STATE / "staged", CONF / "20auto"));

  disk->lock_away(CONF / "20auto");

  EXPECT_FALSE(files->files_equal(STATE / "staged", CONF / "20auto"));
  EXPECT_FALSE(files->files_equal(CONF / "20auto", STATE / "staged"));
}

TEST_F(ActingFilesystem, WhatIsInTheStateDirectoryIsNotNoted) {
  disk->fake().add_file(STATE / "staging" / "list", "text");

  files->remove(STATE / "staging" / "list");

  EXPECT_FALSE(disk->exists(STATE / "unfinished"));
}

TEST_F(ActingFilesystem, WhatAKillLeftUnfinishedIsDifferentFromEveryFileUntilItIsDoneAgain) {
  disk->fake().add_file(STATE / "staged", "ours");
  files->copy_file(STATE / "staged", CONF / "20auto", OVERWRITE);
  EXPECT_TRUE(files->files_equal(STATE / "staged", CONF / "20auto"));
  start();

  EXPECT_FALSE(files->files_equal(STATE / "staged", CONF / "20auto"));
  files->copy_file(STATE / "staged", CONF / "20auto", OVERWRITE);

  EXPECT_TRUE(files->files_equal(STATE / "staged", CONF / "20auto"));
}

TEST_F(ActingFilesystem, WhatFailedIsUnfinishedForTheNextWorkOfTheSameProcess) {
  disk->fake().add_file(STATE / "staged", "ours");
  files->copy_file(STATE / "staged", CONF / "20auto", OVERWRITE);

  work->end([](const Path&) { return false; });

  EXPECT_FALSE(files->files_equal(STATE / "staged", CONF / "20auto"));
}

TEST_F(ActingFilesystem, WhatAKillLeftRemovedCountsAsThereUntilItIsRemovedAgain) {
  const Path drop_in = "/etc/systemd/timer.d/ours.conf";
  disk->fake().add_file(drop_in, "text");
  files->remove(std::vector{drop_in});
  files->remove(drop_in.parent_path());
  start();

  EXPECT_TRUE(files->exists(drop_in));
  files->remove(std::vector{drop_in});
  EXPECT_TRUE(files->remove(drop_in.parent_path()));

  EXPECT_FALSE(files->exists(drop_in));
  EXPECT_FALSE(files->remove(drop_in.parent_path()));
}

TEST_F(ActingFilesystem, BackupsAreNeverMadeUp) {
  files->remove(BACKUPS / "20auto");
  start();

  EXPECT_FALSE(files->exists(BACKUPS / "20auto"));
}

}  // namespace
}  // namespace zant::velmora_host
