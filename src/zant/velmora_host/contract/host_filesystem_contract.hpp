#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host::contract {

/// What the host library relies on in a file service beyond what the library does: for a server that hands a
/// file service of its own to the reports. See filesystem_contract.hpp.
///
/// @tparam Host as for `FilesystemContract`; its services are `Host_Filesystem`s.
template <typename Host>
class HostFilesystemContract : public ::testing::Test {
 protected:
  using Path = velmora::Filesystem::Path;

  Host_Filesystem& files() { return host_.filesystem(); }
  Path at(const std::string& name) { return host_.root() / name; }

  void given_file(const std::string& name) {
    ASSERT_TRUE(arranging_files_().write_file(at(name), "text", velmora::Write_Flag::REPLACE));
  }
  void given_directory(const std::string& name) {
    ASSERT_TRUE(arranging_files_().create_directories(at(name)));
  }

 private:
  Host_Filesystem& arranging_files_() {
    if constexpr (requires { host_.arranging_filesystem(); }) {
      return host_.arranging_filesystem();
    } else {
      return host_.filesystem();
    }
  }

  Host host_;
};

TYPED_TEST_SUITE_P(HostFilesystemContract);

// --- type_of -----------------------------------------------------------------

TYPED_TEST_P(HostFilesystemContract, TypeOfTellsFilesFromDirectories) {
  this->given_directory("d");
  this->given_file("d/a");

  EXPECT_EQ(this->files().type_of(this->at("d")), File_Type::DIRECTORY);
  EXPECT_EQ(this->files().type_of(this->at("d/a")), File_Type::FILE);
}

TYPED_TEST_P(HostFilesystemContract, TypeOfWhatIsMissingIsNone) {
  this->given_file("a");

  EXPECT_EQ(this->files().type_of(this->at("missing")), File_Type::NONE);
  EXPECT_EQ(this->files().type_of(this->at("missing/below")), File_Type::NONE);
  EXPECT_EQ(this->files().type_of(this->at("a/below")), File_Type::NONE);
}

TYPED_TEST_P(HostFilesystemContract, TypeOfFollowsAChange) {
  this->given_directory("d");
  this->given_file("a");

  this->files().remove(this->at("a"));
  this->files().create_directories(this->at("a"));
  this->files().remove_all(this->at("d"));
  this->files().write_file(this->at("d"), "text", velmora::Write_Flag::REPLACE);

  EXPECT_EQ(this->files().type_of(this->at("a")), File_Type::DIRECTORY);
  EXPECT_EQ(this->files().type_of(this->at("d")), File_Type::FILE);
}

// --- list_entries ------------------------------------------------------------

TYPED_TEST_P(HostFilesystemContract, ListEntriesGivesAllEntriesSortedAndNothingBelowThem) {
  this->given_directory("d/e");
  this->given_file("d/e/below");
  this->given_file("d/b.conf");
  this->given_file("d/.hidden");
  this->given_file("d/a");

  EXPECT_THAT(
      this->files().list_entries(this->at("d")),
      ::testing::ElementsAre(this->at("d/.hidden"), this->at("d/a"), this->at("d/b.conf"), this->at("d/e")));
}

TYPED_TEST_P(HostFilesystemContract, ListEntriesShowsWhatWasMadeAndNotWhatWasRemoved) {
  this->given_directory("d/old");
  this->given_file("d/a");
  this->given_file("d/b");

  this->files().remove(this->at("d/a"));
  this->files().remove_all(this->at("d/old"));
  this->files().create_directories(this->at("d/new"));

  EXPECT_THAT(this->files().list_entries(this->at("d")),
              ::testing::ElementsAre(this->at("d/b"), this->at("d/new")));
}

TYPED_TEST_P(HostFilesystemContract, ListEntriesOfWhatIsNoDirectoryIsEmpty) {
  this->given_file("a");
  this->given_directory("d");

  EXPECT_THAT(this->files().list_entries(this->at("missing")), ::testing::IsEmpty());
  EXPECT_THAT(this->files().list_entries(this->at("a")), ::testing::IsEmpty());
  EXPECT_THAT(this->files().list_entries(this->at("d")), ::testing::IsEmpty());
}

// --- move --------------------------------------------------------------------

TYPED_TEST_P(HostFilesystemContract, MoveGivesAFileAnotherNameAndReplacesWhatStoodThere) {
  this->given_file("a");
  this->files().write_file(this->at("b"), "old", velmora::Write_Flag::REPLACE);

  EXPECT_TRUE(this->files().move(this->at("a"), this->at("b")));

  EXPECT_EQ(this->files().type_of(this->at("a")), File_Type::NONE);
  EXPECT_EQ(this->files().read_file(this->at("b"), velmora::Read_Flag::WHOLE_TEXT), "text");
}

TYPED_TEST_P(HostFilesystemContract, MoveOfWhatIsMissingIsFalseAndChangesNothing) {
  this->given_file("b");

  EXPECT_FALSE(this->files().move(this->at("missing"), this->at("b")));

  EXPECT_EQ(this->files().type_of(this->at("b")), File_Type::FILE);
}

REGISTER_TYPED_TEST_SUITE_P(HostFilesystemContract, TypeOfTellsFilesFromDirectories,
                            TypeOfWhatIsMissingIsNone, TypeOfFollowsAChange,
                            ListEntriesGivesAllEntriesSortedAndNothingBelowThem,
                            ListEntriesShowsWhatWasMadeAndNotWhatWasRemoved,
                            ListEntriesOfWhatIsNoDirectoryIsEmpty,
                            MoveGivesAFileAnotherNameAndReplacesWhatStoodThere,
                            MoveOfWhatIsMissingIsFalseAndChangesNothing);

}  // namespace zant::velmora_host::contract
