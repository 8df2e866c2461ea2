#pragma once

#include <zant/velmora/host/filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

/// What the library relies on in the services that a server hands it, as tests. A server that brings services
/// of its own runs them in its own test program, which needs GoogleTest 1.12 or later with GoogleMock:
///
///     class My_Files {
///      public:
///       zant::velmora::Filesystem& filesystem() { return filesystem_; }
///       boost::filesystem::path root() const { return directory_; }  // is there, and empty
///       ...
///     };
///
///     namespace zant::velmora_host::contract {
///     INSTANTIATE_TYPED_TEST_SUITE_P(Mine, FilesystemContract, My_Files);
///     }
///
/// The fakes of this project's own tests pass the same suites as its real services, so that they behave
/// alike.
namespace zant::velmora_host::contract {

using namespace std::string_literals;

/// What the library relies on in a file service.
///
/// @tparam Host is made anew for each test. It gives a `filesystem()` to be tested and an existing, empty
///              directory `root()` to do it in. With an `arranging_filesystem()`, that one makes the files
///              which a test begins with; without it, the tested one does.
template <typename Host>
class FilesystemContract : public ::testing::Test {
 protected:
  using Path = velmora::Filesystem::Path;

  velmora::Filesystem& files() { return host_.filesystem(); }
  Path at(const std::string& name) { return host_.root() / name; }

  void given_file(const std::string& name, const std::string& text) {
    ASSERT_TRUE(arranging_files_().write_file(at(name), text, velmora::Write_Flag::REPLACE));
  }
  void given_directory(const std::string& name) {
    ASSERT_TRUE(arranging_files_().create_directories(at(name)));
  }

  std::string text_of(const std::string& name) {
    return files().read_file(at(name), velmora::Read_Flag::WHOLE_TEXT);
  }
  std::string line_of(const std::string& name) {
    return files().read_file(at(name), velmora::Read_Flag::WITHOUT_LINE_END);
  }
  bool copy(const std::string& source, const std::string& destination) {
    return files().copy_file(at(source), at(destination), velmora::Copy_Option::OVERWRITE_EXISTING);
  }

 private:
  velmora::Filesystem& arranging_files_() {
    if constexpr (requires { host_.arranging_filesystem(); }) {
      return host_.arranging_filesystem();
    } else {
      return host_.filesystem();
    }
  }

  Host host_;
};

TYPED_TEST_SUITE_P(FilesystemContract);

// --- remove ------------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, RemoveDeletesAFile) {
  this->given_file("a", "text");

  EXPECT_TRUE(this->files().remove(this->at("a")));

  EXPECT_FALSE(this->files().exists(this->at("a")));
}

TYPED_TEST_P(FilesystemContract, RemoveDeletesAnEmptyDirectory) {
  this->given_directory("d");

  EXPECT_TRUE(this->files().remove(this->at("d")));

  EXPECT_FALSE(this->files().exists(this->at("d")));
}

TYPED_TEST_P(FilesystemContract, RemoveLeavesADirectoryWithEntries) {
  this->given_directory("d");
  this->given_file("d/a", "text");

  EXPECT_FALSE(this->files().remove(this->at("d")));

  EXPECT_EQ(this->text_of("d/a"), "text");
}

TYPED_TEST_P(FilesystemContract, RemoveOfWhatIsMissingIsFalse) {
  EXPECT_FALSE(this->files().remove(this->at("missing")));
  EXPECT_FALSE(this->files().remove(this->at("missing/below")));
}

TYPED_TEST_P(FilesystemContract, RemoveOfAListDeletesTheFilesThatExist) {
  this->given_file("a", "text");
  this->given_file("b", "text");
  this->given_file("c", "text");

  this->files().remove({this->at("a"), this->at("missing"), this->at("c")});

  EXPECT_FALSE(this->files().exists(this->at("a")));
  EXPECT_TRUE(this->files().exists(this->at("b")));
  EXPECT_FALSE(this->files().exists(this->at("c")));
}

TYPED_TEST_P(FilesystemContract, RemoveOfAListLeavesDirectories) {
  this->given_directory("d");

  this->files().remove(std::vector{this->at("d")});

  EXPECT_TRUE(this->files().exists(this->at("d")));
}

TYPED_TEST_P(FilesystemContract, RemoveOfAListRemovesTheOtherFilesBesideADirectory) {
  this->given_directory("d");
  this->given_file("a", "text");

  this->files().remove(std::vector{this->at("d"), this->at("a")});

  EXPECT_TRUE(this->files().exists(this->at("d")));
  EXPECT_FALSE(this->files().exists(this->at("a")));
}

TYPED_TEST_P(FilesystemContract, RemoveOfAnEmptyListDoesNothing) {
  this->given_file("a", "text");

  this->files().remove(std::vector<velmora::Filesystem::Path>{});

  EXPECT_EQ(this->text_of("a"), "text");
}

// --- remove_all --------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, RemoveAllTakesADirectoryWithEverythingInIt) {
  this->given_directory("d/e");
  this->given_file("d/a", "text");
  this->given_file("d/e/b", "text");
  this->given_file("d2", "a neighbour whose name begins alike");

  this->files().remove_all(this->at("d"));

  EXPECT_FALSE(this->files().exists(this->at("d")));
  EXPECT_TRUE(this->files().exists(this->at("d2")));
}

TYPED_TEST_P(FilesystemContract, ADirectoryThatIsMadeAgainAfterRemoveAllIsEmpty) {
  this->given_directory("d");
  this->given_file("d/a", "text");

  this->files().remove_all(this->at("d"));

  EXPECT_TRUE(this->files().create_directories(this->at("d")));
  EXPECT_TRUE(this->files().is_empty(this->at("d")));
  EXPECT_EQ(this->text_of("d/a"), "");
}

TYPED_TEST_P(FilesystemContract, ADirectoryIsEmptyOnceItsFilesAreRemoved) {
  this->given_directory("d");
  this->given_file("d/a", "text");
  this->given_file("d/b", "text");

  this->files().remove(std::vector{this->at("d/a"), this->at("d/b")});

  EXPECT_TRUE(this->files().is_empty(this->at("d")));
  EXPECT_TRUE(this->files().remove(this->at("d")));
}

TYPED_TEST_P(FilesystemContract, AFileCanTakeThePlaceOfARemovedDirectory) {
  this->given_directory("d");
  this->given_file("d/a", "text");

  this->files().remove_all(this->at("d"));

  EXPECT_TRUE(this->files().write_file(this->at("d"), "now a file", velmora::Write_Flag::REPLACE));
  EXPECT_EQ(this->text_of("d"), "now a file");
  EXPECT_FALSE(this->files().exists(this->at("d/a")));
}

TYPED_TEST_P(FilesystemContract, RemoveAllOfWhatIsMissingIsNoError) {
  EXPECT_NO_THROW(this->files().remove_all(this->at("missing")));
}

// --- exists ------------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, ExistsIsTrueForFilesAndDirectories) {
  this->given_directory("d");
  this->given_file("d/a", "");

  EXPECT_TRUE(this->files().exists(this->at("d")));
  EXPECT_TRUE(this->files().exists(this->at("d/a")));
}

TYPED_TEST_P(FilesystemContract, ExistsIsFalseForWhatIsMissing) {
  this->given_file("a", "");

  EXPECT_FALSE(this->files().exists(this->at("missing")));
  EXPECT_FALSE(this->files().exists(this->at("missing/below")));
  EXPECT_FALSE(this->files().exists(this->at("a/below")));
}

// --- is_empty ----------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, IsEmptyIsTrueForADirectoryWithoutEntries) {
  this->given_directory("d");

  EXPECT_TRUE(this->files().is_empty(this->at("d")));
}

TYPED_TEST_P(FilesystemContract, IsEmptyIsFalseForADirectoryWithAFileOrADirectory) {
  this->given_directory("d");
  this->given_file("d/a", "");
  this->given_directory("e/f");

  EXPECT_FALSE(this->files().is_empty(this->at("d")));
  EXPECT_FALSE(this->files().is_empty(this->at("e")));
}

TYPED_TEST_P(FilesystemContract, IsEmptyIsFalseForWhatIsMissing) {
  EXPECT_FALSE(this->files().is_empty(this->at("missing")));
}

// --- list_files --------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, ListFilesGivesTheFullPathsOfTheFilesWithTheExtension) {
  this->given_directory("d");
  this->given_file("d/b.template", "");
  this->given_file("d/a.conf.template", "");
  this->given_file("d/c.conf", "");
  this->given_file("d/template", "");

  EXPECT_THAT(this->files().list_files(this->at("d"), ".template"),
              ::testing::UnorderedElementsAre(this->at("d/a.conf.template"), this->at("d/b.template")));
}

TYPED_TEST_P(FilesystemContract, ListFilesLooksNeitherAtDirectoriesNorBelowThem) {
  this->given_directory("d/e.template");
  this->given_file("d/e.template/a.template", "");

  EXPECT_THAT(this->files().list_files(this->at("d"), ".template"), ::testing::IsEmpty());
}

TYPED_TEST_P(FilesystemContract, ListFilesShowsWhatWasWrittenAndNotWhatWasRemoved) {
  this->given_directory("d");
  this->given_file("d/old.conf", "");
  this->given_file("d/kept.conf", "");

  this->files().remove(this->at("d/old.conf"));
  this->files().write_file(this->at("d/new.conf"), "", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(this->files().list_files(this->at("d"), ".conf"),
              ::testing::UnorderedElementsAre(this->at("d/kept.conf"), this->at("d/new.conf")));
}

TYPED_TEST_P(FilesystemContract, ListFilesOfAMissingDirectoryIsEmpty) {
  EXPECT_THAT(this->files().list_files(this->at("missing"), ".template"), ::testing::IsEmpty());
}

// --- copy_file ---------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, CopyFileMakesTheDestinationWithTheSameContents) {
  const std::string text = "text\nwith a zero \0 and no end of line"s;
  this->given_file("a", text);

  EXPECT_TRUE(this->copy("a", "b"));

  EXPECT_EQ(this->text_of("b"), text);
  EXPECT_EQ(this->text_of("a"), text);
}

TYPED_TEST_P(FilesystemContract, CopyFileReplacesAnExistingDestination) {
  this->given_file("a", "new");
  this->given_file("b", "old, and longer");

  EXPECT_TRUE(this->copy("a", "b"));

  EXPECT_EQ(this->text_of("b"), "new");
}

TYPED_TEST_P(FilesystemContract, CopyFileOfAMissingSourceIsFalseAndLeavesTheDestination) {
  this->given_file("b", "old");

  EXPECT_FALSE(this->copy("missing", "b"));

  EXPECT_EQ(this->text_of("b"), "old");
}

TYPED_TEST_P(FilesystemContract, CopyFileOfADirectoryIsFalse) {
  this->given_directory("d");

  EXPECT_FALSE(this->copy("d", "b"));

  EXPECT_FALSE(this->files().exists(this->at("b")));
}

TYPED_TEST_P(FilesystemContract, CopyFileIntoAMissingDirectoryIsFalse) {
  this->given_file("a", "text");

  EXPECT_FALSE(this->copy("a", "missing/b"));

  EXPECT_FALSE(this->files().exists(this->at("missing")));
}

TYPED_TEST_P(FilesystemContract, CopyFileOverADirectoryIsFalse) {
  this->given_file("a", "text");
  this->given_directory("d");

  EXPECT_FALSE(this->copy("a", "d"));

  EXPECT_TRUE(this->files().is_empty(this->at("d")));
}

TYPED_TEST_P(FilesystemContract, CopyFileWithoutTheOptionToOverwriteLeavesAnExistingDestination) {
  constexpr int NO_OPTION = 0;
  this->given_file("a", "new");
  this->given_file("b", "old");

  EXPECT_FALSE(this->files().copy_file(this->at("a"), this->at("b"), NO_OPTION));
  EXPECT_TRUE(this->files().copy_file(this->at("a"), this->at("c"), NO_OPTION));

  EXPECT_EQ(this->text_of("b"), "old");
  EXPECT_EQ(this->text_of("c"), "new");
}

// --- copy_files --------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, CopyFilesCopiesWhatExistsUnderItsOwnNameAndCountsIt) {
  this->given_file("a", "A");
  this->given_file("b", "B");
  this->given_directory("d");

  const auto copied = this->files().copy_files({this->at("a"), this->at("missing"), this->at("b")},
                                               this->at("d"), velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_EQ(copied, 2U);
  EXPECT_EQ(this->text_of("d/a"), "A");
  EXPECT_EQ(this->text_of("d/b"), "B");
  EXPECT_FALSE(this->files().exists(this->at("d/missing")));
}

TYPED_TEST_P(FilesystemContract, CopyFilesReplacesExistingFiles) {
  this->given_file("a", "new");
  this->given_directory("d");
  this->given_file("d/a", "old");

  EXPECT_EQ(
      this->files().copy_files({this->at("a")}, this->at("d"), velmora::Copy_Option::OVERWRITE_EXISTING), 1U);

  EXPECT_EQ(this->text_of("d/a"), "new");
}

TYPED_TEST_P(FilesystemContract, CopyFilesDoesNotCountWhatCannotBeCopied) {
  this->given_file("a", "A");
  this->given_file("b", "B");
  this->given_directory("d/a");

  const auto copied = this->files().copy_files({this->at("a"), this->at("b")}, this->at("d"),
                                               velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_EQ(copied, 1U);
  EXPECT_EQ(this->text_of("d/b"), "B");
}

TYPED_TEST_P(FilesystemContract, CopyFilesIntoAMissingDirectoryCopiesNone) {
  this->given_file("a", "A");

  EXPECT_EQ(this->files().copy_files({this->at("a")}, this->at("missing"),
                                     velmora::Copy_Option::OVERWRITE_EXISTING),
            0U);

  EXPECT_FALSE(this->files().exists(this->at("missing")));
}

// --- read_file ---------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, ReadFileGivesTheTextAsStored) {
  const std::string text = "first\r\nsecond \0\n\n"s;
  this->given_file("a", text);

  EXPECT_EQ(this->text_of("a"), text);
}

TYPED_TEST_P(FilesystemContract, ReadFileOfWhatIsMissingIsEmpty) {
  EXPECT_EQ(this->text_of("missing"), "");
  EXPECT_EQ(this->line_of("missing/below"), "");
}

TYPED_TEST_P(FilesystemContract, ReadFileOfADirectoryIsEmpty) {
  this->given_directory("d");

  EXPECT_EQ(this->text_of("d"), "");
}

TYPED_TEST_P(FilesystemContract, ReadFileWithoutLineEndTakesOneLineEndAway) {
  this->given_file("unix", "systemd\n");
  this->given_file("dos", "systemd\r\n");
  this->given_file("none", "systemd");
  this->given_file("two", "systemd\n\n");
  this->given_file("inside", "sys\ntemd \n");
  this->given_file("only", "\n");

  EXPECT_EQ(this->line_of("unix"), "systemd");
  EXPECT_EQ(this->line_of("dos"), "systemd");
  EXPECT_EQ(this->line_of("none"), "systemd");
  EXPECT_EQ(this->line_of("two"), "systemd\n");
  EXPECT_EQ(this->line_of("inside"), "sys\ntemd ");
  EXPECT_EQ(this->line_of("only"), "");
}

// --- write_file --------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, WriteFileCreatesAFileWithExactlyTheText) {
  const std::string text = "no line end, a zero \0 and a bell \a"s;

  EXPECT_TRUE(this->files().write_file(this->at("a"), text, velmora::Write_Flag::REPLACE));

  EXPECT_EQ(this->text_of("a"), text);
}

TYPED_TEST_P(FilesystemContract, WriteFileReplacesTheWholeContents) {
  this->given_file("a", "old, and longer");

  EXPECT_TRUE(this->files().write_file(this->at("a"), "new", velmora::Write_Flag::REPLACE));

  EXPECT_EQ(this->text_of("a"), "new");
}

TYPED_TEST_P(FilesystemContract, WriteFileOfAnEmptyTextLeavesAnEmptyFile) {
  this->given_file("a", "old");

  EXPECT_TRUE(this->files().write_file(this->at("a"), "", velmora::Write_Flag::REPLACE));

  EXPECT_TRUE(this->files().exists(this->at("a")));
  EXPECT_EQ(this->text_of("a"), "");
}

TYPED_TEST_P(FilesystemContract, WriteFileIntoAMissingDirectoryIsFalse) {
  EXPECT_FALSE(this->files().write_file(this->at("missing/a"), "text", velmora::Write_Flag::REPLACE));

  EXPECT_FALSE(this->files().exists(this->at("missing")));
}

TYPED_TEST_P(FilesystemContract, WriteFileBelowAFileIsFalse) {
  this->given_file("a", "text");

  EXPECT_FALSE(this->files().write_file(this->at("a/b"), "text", velmora::Write_Flag::REPLACE));

  EXPECT_EQ(this->text_of("a"), "text");
}

TYPED_TEST_P(FilesystemContract, WriteFileOverADirectoryIsFalse) {
  this->given_directory("d");

  EXPECT_FALSE(this->files().write_file(this->at("d"), "text", velmora::Write_Flag::REPLACE));

  EXPECT_TRUE(this->files().is_empty(this->at("d")));
}

// --- create_directories ------------------------------------------------------

TYPED_TEST_P(FilesystemContract, CreateDirectoriesMakesTheDirectoryAndItsParents) {
  EXPECT_TRUE(this->files().create_directories(this->at("d/e/f")));

  EXPECT_TRUE(this->files().is_empty(this->at("d/e/f")));
}

TYPED_TEST_P(FilesystemContract, CreateDirectoriesIsTrueForWhatIsThere) {
  this->given_directory("d");
  this->given_file("d/a", "text");

  EXPECT_TRUE(this->files().create_directories(this->at("d")));

  EXPECT_EQ(this->text_of("d/a"), "text");
}

TYPED_TEST_P(FilesystemContract, CreateDirectoriesIsFalseWhereAFileIsInTheWay) {
  this->given_file("a", "text");

  EXPECT_FALSE(this->files().create_directories(this->at("a")));
  EXPECT_FALSE(this->files().create_directories(this->at("a/d")));

  EXPECT_EQ(this->text_of("a"), "text");
}

// --- files_equal -------------------------------------------------------------

TYPED_TEST_P(FilesystemContract, FilesEqualIsTrueForIdenticalContents) {
  const std::string text(200000, 'x');
  this->given_file("a", text);
  this->given_file("b", text);

  EXPECT_TRUE(this->files().files_equal(this->at("a"), this->at("b")));
  EXPECT_TRUE(this->files().files_equal(this->at("a"), this->at("a")));
}

TYPED_TEST_P(FilesystemContract, FilesEqualIsTrueForTwoEmptyFiles) {
  this->given_file("a", "");
  this->given_file("b", "");

  EXPECT_TRUE(this->files().files_equal(this->at("a"), this->at("b")));
}

TYPED_TEST_P(FilesystemContract, FilesEqualIsFalseForOneByteThatDiffers) {
  std::string text(200000, 'x');
  this->given_file("a", text);
  text.back() = 'y';
  this->given_file("b", text);

  EXPECT_FALSE(this->files().files_equal(this->at("a"), this->at("b")));
}

TYPED_TEST_P(FilesystemContract, FilesEqualIsFalseForOneByteMore) {
  this->given_file("a", "text");
  this->given_file("b", "text\n");

  EXPECT_FALSE(this->files().files_equal(this->at("a"), this->at("b")));
}

TYPED_TEST_P(FilesystemContract, FilesEqualIsFalseWhenEitherIsMissing) {
  this->given_file("a", "");

  EXPECT_FALSE(this->files().files_equal(this->at("missing"), this->at("a")));
  EXPECT_FALSE(this->files().files_equal(this->at("a"), this->at("missing")));
  EXPECT_FALSE(this->files().files_equal(this->at("missing"), this->at("missing")));
}

TYPED_TEST_P(FilesystemContract, FilesEqualIsFalseForDirectories) {
  this->given_directory("d");

  EXPECT_FALSE(this->files().files_equal(this->at("d"), this->at("d")));
}

REGISTER_TYPED_TEST_SUITE_P(
    FilesystemContract, RemoveDeletesAFile, RemoveDeletesAnEmptyDirectory, RemoveLeavesADirectoryWithEntries,
    RemoveOfWhatIsMissingIsFalse, RemoveOfAListDeletesTheFilesThatExist, RemoveOfAListLeavesDirectories,
    RemoveOfAListRemovesTheOtherFilesBesideADirectory, RemoveOfAnEmptyListDoesNothing,
    RemoveAllTakesADirectoryWithEverythingInIt, ADirectoryThatIsMadeAgainAfterRemoveAllIsEmpty,
    ADirectoryIsEmptyOnceItsFilesAreRemoved, AFileCanTakeThePlaceOfARemovedDirectory,
    RemoveAllOfWhatIsMissingIsNoError, ExistsIsTrueForFilesAndDirectories, ExistsIsFalseForWhatIsMissing,
    IsEmptyIsTrueForADirectoryWithoutEntries, IsEmptyIsFalseForADirectoryWithAFileOrADirectory,
    IsEmptyIsFalseForWhatIsMissing, ListFilesGivesTheFullPathsOfTheFilesWithTheExtension,
    ListFilesLooksNeitherAtDirectoriesNorBelowThem, ListFilesShowsWhatWasWrittenAndNotWhatWasRemoved,
    ListFilesOfAMissingDirectoryIsEmpty, CopyFileMakesTheDestinationWithTheSameContents,
    CopyFileReplacesAnExistingDestination, CopyFileOfAMissingSourceIsFalseAndLeavesTheDestination,
    CopyFileOfADirectoryIsFalse, CopyFileIntoAMissingDirectoryIsFalse, CopyFileOverADirectoryIsFalse,
    CopyFileWithoutTheOptionToOverwriteLeavesAnExistingDestination,
    CopyFilesCopiesWhatExistsUnderItsOwnNameAndCountsIt, CopyFilesReplacesExistingFiles,
    CopyFilesDoesNotCountWhatCannotBeCopied, CopyFilesIntoAMissingDirectoryCopiesNone,
    ReadFileGivesTheTextAsStored, ReadFileOfWhatIsMissingIsEmpty, ReadFileOfADirectoryIsEmpty,
    ReadFileWithoutLineEndTakesOneLineEndAway, WriteFileCreatesAFileWithExactlyTheText,
    WriteFileReplacesTheWholeContents, WriteFileOfAnEmptyTextLeavesAnEmptyFile,
    WriteFileIntoAMissingDirectoryIsFalse, WriteFileBelowAFileIsFalse, WriteFileOverADirectoryIsFalse,
    CreateDirectoriesMakesTheDirectoryAndItsParents, CreateDirectoriesIsTrueForWhatIsThere,
    CreateDirectoriesIsFalseWhereAFileIsInTheWay, FilesEqualIsTrueForIdenticalContents,
    FilesEqualIsTrueForTwoEmptyFiles, FilesEqualIsFalseForOneByteThatDiffers, FilesEqualIsFalseForOneByteMore,
    FilesEqualIsFalseWhenEitherIsMissing, FilesEqualIsFalseForDirectories);

}  // namespace zant::velmora_host::contract
