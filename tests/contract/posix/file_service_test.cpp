#include "disk_seams.hpp"

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/posix/replacement_file.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/captured_log.hpp>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace zant::velmora_host {
namespace {

namespace Disk_Seams = velmora::test_support::Disk_Seams;
using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

class FileService : public ::testing::Test {
 protected:
  path at(const std::string& name) const { return directory_.path() / name; }

  void given_file(const std::string& name, const std::string& text) {
    std::ofstream(at(name).string(), std::ios::binary) << text;
  }
  bool write(const std::string& name, const std::string& text) {
    return files_.write_file(at(name), text, velmora::Write_Flag::REPLACE);
  }
  bool copy(const std::string& source, const std::string& destination) {
    return files_.copy_file(at(source), at(destination), velmora::Copy_Option::OVERWRITE_EXISTING);
  }
  std::string text_of(const std::string& name) {
    return files_.read_file(at(name), velmora::Read_Flag::WHOLE_TEXT);
  }

  unsigned int mode_of(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::lstat(at(name).c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  std::string access_of(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::lstat(at(name).c_str(), &status), 0);
    return fmt::format("{:o} {}:{}", status.st_mode & 07777U, status.st_uid, status.st_gid);
  }

  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(directory_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  std::vector<std::string> warnings() const { return log_.messages(4); }

  velmora::test_support::Captured_Log log_;
  Temporary_Directory directory_;
  File_Service files_;
};

// A process's mask, put back at the end.
class Mask {
 public:
  explicit Mask(mode_t mask) : previous_(::umask(mask)) {}
  ~Mask() { ::umask(previous_); }

 private:
  mode_t previous_;
};

// --- Modes -------------------------------------------------------------------

TEST_F(FileService, WrittenFilesAreReadableByEverybodyWhateverTheMask) {
  const Mask mask(077);

  write("a", "text");

  EXPECT_EQ(mode_of("a"), 0644U);
}

TEST_F(FileService, CopiesAreReadableByEverybodyWhateverTheSourcesMode) {
  given_file("a", "text");
  ::chmod(at("a").c_str(), 0600);
  given_file("b", "text");
  ::chmod(at("b").c_str(), 04777);

  copy("a", "copy of a");
  copy("b", "copy of b");

  EXPECT_EQ(mode_of("copy of a"), 0644U);
  EXPECT_EQ(mode_of("copy of b"), 0644U);
}

TEST_F(FileService, ReplacingAFileRepairsItsMode) {
  given_file("a", "old");
  ::chmod(at("a").c_str(), 0600);

  write("a", "new");

  EXPECT_EQ(mode_of("a"), 0644U);
}

TEST_F(FileService, CopiesOfPrivateDirectoriesKeepOwnerAndGroup) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root may give files away";
  }
  File_Service files({at("backups")});
  files.create_directories(at("backups"));
  given_file("a", "secret");
  ASSERT_EQ(::chown(at("a").c_str(), 1, 2), 0);
  ASSERT_EQ(::chmod(at("a").c_str(), 0640), 0);

  files.copy_files({at("a")}, at("backups"), velmora::Copy_Option::OVERWRITE_EXISTING);
  write("a", "ours");
  files.copy_file(at("backups/a"), at("a"), velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_EQ(access_of("backups/a"), "640 1:2");
  EXPECT_EQ(access_of("a"), "640 1:2");
}

TEST_F(FileService, ACopyThatCannotBeGivenAwayIsForItsNewOwnerAlone) {
  File_Service files({at("backups")});
  files.create_directories(at("backups"));
  given_file("a", "secret");
  ASSERT_EQ(::chmod(at("a").c_str(), 0664), 0);
  Disk_Seams::reset();
  Disk_Seams::fail_next_change_of_owner(EPERM);

  EXPECT_EQ(files.copy_files({at("a")}, at("backups"), velmora::Copy_Option::OVERWRITE_EXISTING), 1U);

  EXPECT_EQ(mode_of("backups/a"), 0600U);
}

TEST_F(FileService, SetUserIdIsNotCopied) {
  File_Service files({at("backups")});
  files.create_directories(at("backups"));
  given_file("a", "text");
  ASSERT_EQ(::chmod(at("a").c_str(), 06755), 0);

  files.copy_file(at("a"), at("backups/a"), velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_EQ(mode_of("backups/a"), 0755U);
}

TEST_F(FileService, APrivateDirectoryIsPrivateWhateverTheMask) {
  const Mask mask(0);
  File_Service files({at("d/backups")});

  files.create_directories(at("d/backups"));

  EXPECT_EQ(mode_of("d"), 0755U);
  EXPECT_EQ(mode_of("d/backups"), 0700U);
}

TEST_F(FileService, APrivateDirectoryThatIsAFileIsNoDirectory) {
  given_file("backups", "text");

  EXPECT_FALSE(File_Service({at("backups")}).create_directories(at("backups")));

  EXPECT_EQ(mode_of("backups"), 0644U);
}

TEST_F(FileService, CreatedDirectoriesCanBeEnteredByEverybodyWhateverTheMask) {
  const Mask mask(077);

  files_.create_directories(at("d/e"));

  EXPECT_EQ(mode_of("d"), 0755U);
  EXPECT_EQ(mode_of("d/e"), 0755U);
}

// --- Links and pseudo-files --------------------------------------------------

TEST_F(FileService, ReadsAndCopiesFollowLinks) {
  given_file("target", "text");
  boost::filesystem::create_symlink("target", at("link"));

  EXPECT_EQ(text_of("link"), "text");
  EXPECT_TRUE(copy("link", "copy"));

  EXPECT_EQ(text_of("copy"), "text");
  EXPECT_TRUE(files_.files_equal(at("link"), at("target")));
}

TEST_F(FileService, AWriteReplacesALinkAndNotWhatItPointsTo) {
  given_file("target", "somebody else's");
  boost::filesystem::create_symlink("target", at("link"));

  EXPECT_TRUE(write("link", "ours"));

  EXPECT_FALSE(boost::filesystem::is_symlink(at("link")));
  EXPECT_EQ(text_of("link"), "ours");
  EXPECT_EQ(text_of("target"), "somebody else's");
}

TEST_F(FileService, RemoveTakesALinkAndNotWhatItPointsTo) {
  given_file("target", "text");
  boost::filesystem::create_symlink("target", at("link"));

  EXPECT_TRUE(files_.remove(at("link")));

  EXPECT_THAT(entries(), ElementsAre("target"));
}

TEST_F(FileService, RemoveAllDoesNotFollowLinks) {
  boost::filesystem::create_directory(at("elsewhere"));
  given_file("elsewhere/a", "text");
  boost::filesystem::create_directory(at("d"));
  boost::filesystem::create_directory_symlink(at("elsewhere"), at("d/link"));

  files_.remove_all(at("d"));

  EXPECT_EQ(text_of("elsewhere/a"), "text");
}

TEST_F(FileService, ReadsTheKernelsFilesAlthoughTheirSizeIsZero) {
  EXPECT_EQ(boost::filesystem::file_size("/proc/self/status"), 0U);

  EXPECT_THAT(files_.read_file("/proc/self/status", velmora::Read_Flag::WHOLE_TEXT), StartsWith("Name:\t"));
}

TEST_F(FileService, ReadsTheNameOfAProcessWithoutItsLineEnd) {
  const std::string name = files_.read_file("/proc/self/comm", velmora::Read_Flag::WITHOUT_LINE_END);

  EXPECT_EQ(files_.read_file("/proc/self/comm", velmora::Read_Flag::WHOLE_TEXT), name + "\n");
  EXPECT_FALSE(name.empty());
}

TEST_F(FileService, AFifoInAFilesPlaceReadsAsEmptyInsteadOfBlocking) {
  ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);

  EXPECT_EQ(text_of("fifo"), "");

  EXPECT_THAT(warnings(),
              ElementsAre("Cannot read " + at("fifo").string() + ": not a regular file: Invalid argument"));
}

TEST_F(FileService, AFileThatCannotBeReadToItsEndIsNotTakenForEmpty) {
  // Nothing is mapped at address 0.
  EXPECT_THAT([this] { files_.read_file("/proc/self/mem", velmora::Read_Flag::WHOLE_TEXT); },
              ThrowsMessage<std::system_error>("Cannot read /proc/self/mem: Input/output error"));
}

TEST_F(FileService, TypeOfFollowsLinks) {
  given_file("target", "text");
  boost::filesystem::create_symlink("target", at("link"));
  boost::filesystem::create_symlink("nothing", at("dangling"));
  ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);

  EXPECT_EQ(files_.type_of(at("link")), File_Type::FILE);
  EXPECT_EQ(files_.type_of(at("dangling")), File_Type::NONE);
  EXPECT_EQ(files_.type_of(at("fifo")), File_Type::OTHER);
  EXPECT_EQ(files_.type_of("/dev/null"), File_Type::OTHER);
}

TEST_F(FileService, ListEntriesNamesLinksThatLeadNowhere) {
  boost::filesystem::create_symlink("nothing", at("dangling"));

  EXPECT_THAT(files_.list_entries(directory_.path()), ElementsAre(at("dangling")));
  EXPECT_FALSE(files_.is_empty(directory_.path()));
}

TEST_F(FileService, ListFilesIsSortedAndCountsLinksToFiles) {
  given_file("b.template", "");
  boost::filesystem::create_symlink("b.template", at("a.template"));
  boost::filesystem::create_symlink("nothing", at("c.template"));

  EXPECT_THAT(files_.list_files(directory_.path(), ".template"),
              ElementsAre(at("a.template"), at("b.template")));
}

// --- Whole or not there ------------------------------------------------------

TEST_F(FileService, ContentsAreOnTheDiskBeforeTheNameAndTheNameBeforeTheEnd) {
  Disk_Seams::reset();

  write("a", "text");

  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync file", "rename", "sync directory"));
}

TEST_F(FileService, CopiesAreBroughtToTheDiskInTheSameOrder) {
  given_file("a", "text");
  Disk_Seams::reset();

  copy("a", "b");

  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync file", "rename", "sync directory"));
}

TEST_F(FileService, ANewDirectoryIsBroughtToTheDisk) {
  Disk_Seams::reset();

  files_.create_directories(at("d"));

  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync directory"));
}

TEST_F(FileService, CommonAccessIsWhatItGivesToWhatItWrites) {
  files_.write_file(at("a"), "text", velmora::Write_Flag::REPLACE);
  EXPECT_TRUE(files_.has_common_access(at("a")));

  for (const mode_t mode : {0000U, 0600U, 0640U, 0664U, 0755U, 04644U}) {
    ASSERT_EQ(::chmod(at("a").c_str(), mode), 0);
    EXPECT_FALSE(files_.has_common_access(at("a"))) << mode;
  }
  EXPECT_TRUE(files_.has_common_access(at("missing")));
  EXPECT_TRUE(files_.has_common_access(at("")));
}

TEST_F(FileService, WhatIsRemovedIsGoneFromTheDiskToo) {
  given_file("one", "text");
  given_file("two", "text");
  files_.create_directories(at("d"));
  given_file("d/three", "text");

  Disk_Seams::reset();
  files_.remove(at("one"));
  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync directory"));

  Disk_Seams::reset();
  files_.remove(std::vector<path>{at("two"), at("missing")});
  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync directory"));

  Disk_Seams::reset();
  files_.remove_all(at("d"));
  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("sync directory"));
}

TEST_F(FileService, WhatIsMovedHasItsNewNameOnTheDiskToo) {
  given_file("one", "text");
  files_.create_directories(at("d"));
  Disk_Seams::reset();

  files_.move(at("one"), at("two"));
  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("rename", "sync directory"));

  Disk_Seams::reset();
  files_.move(at("two"), at("d/three"));
  EXPECT_THAT(Disk_Seams::calls(), ElementsAre("rename", "sync directory", "sync directory"));
}

TEST_F(FileService, AFullDiskLeavesTheOldContentsAndNothingElse) {
  given_file("a", "old");
  Disk_Seams::reset();
  Disk_Seams::fail_next_write(ENOSPC);

  EXPECT_FALSE(write("a", "new"));

  EXPECT_EQ(text_of("a"), "old");
  EXPECT_THAT(entries(), ElementsAre("a"));
  EXPECT_THAT(warnings(),
              ElementsAre("Cannot write " + at("a").string() + ": cannot write: No space left on device"));
}

TEST_F(FileService, ADiskThatFailsToKeepTheContentsLeavesTheOldOnesAndNothingElse) {
  given_file("a", "old");
  given_file("b", "new");
  Disk_Seams::reset();
  Disk_Seams::fail_next_sync(EIO);

  EXPECT_FALSE(copy("b", "a"));

  EXPECT_EQ(text_of("a"), "old");
  EXPECT_THAT(entries(), ElementsAre("a", "b"));
  EXPECT_THAT(warnings(), ElementsAre("Cannot copy " + at("b").string() + " to " + at("a").string() +
                                      ": cannot write: Input/output error"));
}

TEST_F(FileService, ARenameThatFailsLeavesTheOldContentsAndNothingElse) {
  given_file("a", "old");
  Disk_Seams::reset();
  Disk_Seams::fail_next_rename(EROFS);

  EXPECT_FALSE(write("a", "new"));

  EXPECT_EQ(text_of("a"), "old");
  EXPECT_THAT(entries(), ElementsAre("a"));
}

TEST_F(FileService, AFileSystemThatCannotSynchroniseDirectoriesIsGoodEnough) {
  Disk_Seams::reset();
  Disk_Seams::fail_next_sync(EINVAL);

  EXPECT_TRUE(files_.create_directories(at("d")));
}

TEST_F(FileService, AReaderSeesEitherTheOldContentsOrTheNew) {
  const std::string old_text(300000, 'o');
  const std::string new_text(300000, 'n');
  write("a", old_text);

  std::vector<std::string> seen;
  std::jthread reader([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      const std::string text = text_of("a");
      if (text != old_text && text != new_text) {
        seen.push_back(text);
      }
    }
  });
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(write("a", round % 2 == 0 ? new_text : old_text));
  }
  reader.request_stop();
  reader.join();

  EXPECT_THAT(seen, IsEmpty());
}

TEST_F(FileService, SeveralWritersOfOneFileDoNotDisturbEachOther) {
  std::vector<std::string> texts;
  {
    std::vector<std::jthread> writers;
    for (char letter = 'a'; letter < 'e'; ++letter) {
      texts.emplace_back(100000, letter);
      writers.emplace_back([this, text = texts.back()] {
        for (int round = 0; round < 5; ++round) {
          EXPECT_TRUE(write("file", text));
        }
      });
    }
  }

  EXPECT_THAT(texts, ::testing::Contains(text_of("file")));
  EXPECT_THAT(entries(), ElementsAre("file"));
}

TEST_F(FileService, WhatAKilledProcessLeavesIsHiddenAndFoundByItsExtension) {
  given_file("zant-velmora.list", "text");
  given_file(".zant-velmora.list.Xa1b2c.package-minder", "half a te");

  EXPECT_THAT(files_.list_files(directory_.path(), File_Service::TEMPORARY_EXTENSION),
              ElementsAre(at(".zant-velmora.list.Xa1b2c.package-minder")));
}

TEST_F(FileService, AnUnfinishedFileLiesHiddenBesideItsDestination) {
  const Replacement_File unfinished(at("zant-velmora.list"));

  ASSERT_EQ(entries().size(), 1U);
  EXPECT_THAT(entries().front(), StartsWith(".zant-velmora.list."));
  EXPECT_THAT(files_.list_files(directory_.path(), File_Service::TEMPORARY_EXTENSION), ::testing::SizeIs(1));
}

// --- Reasons -----------------------------------------------------------------

TEST_F(FileService, AWriteIntoAMissingDirectoryIsLoggedWithItsReason) {
  EXPECT_FALSE(write("missing/a", "text"));

  EXPECT_THAT(log_.records(), ElementsAre(velmora::test_support::Captured_Record{
                                  4, "File_Service",
                                  "Cannot write " + at("missing/a").string() +
                                      ": cannot create a file beside it: No such file or directory"}));
}

TEST_F(FileService, ACopyOfAMissingFileIsLoggedWithItsReason) {
  EXPECT_FALSE(copy("missing", "b"));

  EXPECT_THAT(warnings(), ElementsAre("Cannot copy " + at("missing").string() + " to " + at("b").string() +
                                      ": cannot open: No such file or directory"));
}

TEST_F(FileService, ADirectoryThatCannotBeCreatedIsLoggedWithItsReason) {
  given_file("a", "");

  EXPECT_FALSE(files_.create_directories(at("a")));

  EXPECT_THAT(warnings(), ElementsAre("Cannot create the directory " + at("a").string() +
                                      ": cannot create it: File exists"));
}

TEST_F(FileService, ADirectoryThatCannotBeRemovedIsLoggedWithItsReason) {
  boost::filesystem::create_directory(at("d"));
  given_file("d/a", "");

  EXPECT_FALSE(files_.remove(at("d")));

  EXPECT_THAT(warnings(), ElementsAre("Cannot remove " + at("d").string() + ": Directory not empty"));
}

TEST_F(FileService, AskingAfterWhatIsMissingIsNotLogged) {
  files_.exists(at("missing"));
  files_.is_empty(at("missing"));
  files_.list_files(at("missing"), ".template");
  files_.read_file(at("missing"), velmora::Read_Flag::WHOLE_TEXT);
  files_.files_equal(at("missing"), at("missing"));
  files_.remove(at("missing"));
  files_.remove(std::vector{at("missing"), at("missing/below")});
  files_.remove_all(at("missing"));
  files_.copy_files({at("missing")}, directory_.path(), velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_THAT(log_.records(), IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
