#pragma once

#include <zant/velmora/host/filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host::contract {

/// Who may read what a file service makes, on systems whose files have modes. The library installs files that
/// everybody may read, and keeps copies of an administrator's files, which may hold secrets, in directories
/// that the file service is told of. See filesystem_contract.hpp.
///
/// @tparam Host as for `FilesystemContract`. Beside that it gives a `private_directory()`, one that its
///              service knows as private, which is missing and whose parent is there; a `mode_of(path)`, the
///              nine bits of its permissions; and a `set_mode(path, mode)`.
template <typename Host>
class PrivateDirectoryContract : public ::testing::Test {
 protected:
  using Path = velmora::Filesystem::Path;

  velmora::Filesystem& files() { return host_.filesystem(); }
  Path at(const std::string& name) { return host_.root() / name; }
  Path private_directory() { return host_.private_directory(); }
  unsigned int mode_of(const Path& path) { return host_.mode_of(path); }
  void set_mode(const Path& path, unsigned int mode) { host_.set_mode(path, mode); }

  void given_file(const Path& path, const std::string& text, unsigned int mode) {
    ASSERT_TRUE(files().write_file(path, text, velmora::Write_Flag::REPLACE));
    set_mode(path, mode);
  }
  void given_private_directory() { ASSERT_TRUE(files().create_directories(private_directory())); }

  bool copy(const Path& source, const Path& destination) {
    return files().copy_file(source, destination, velmora::Copy_Option::OVERWRITE_EXISTING);
  }

 private:
  Host host_;
};

TYPED_TEST_SUITE_P(PrivateDirectoryContract);

TYPED_TEST_P(PrivateDirectoryContract, FilesAndDirectoriesAreForEverybodyToRead) {
  this->files().create_directories(this->at("d"));
  this->files().write_file(this->at("d/a"), "text", velmora::Write_Flag::REPLACE);

  EXPECT_EQ(this->mode_of(this->at("d")), 0755U);
  EXPECT_EQ(this->mode_of(this->at("d/a")), 0644U);
}

TYPED_TEST_P(PrivateDirectoryContract, ACopyElsewhereIsForEverybodyToReadWhateverItsSourceIs) {
  this->given_file(this->at("narrow"), "text", 0600);
  this->given_file(this->at("wide"), "text", 0666);
  this->files().create_directories(this->at("d"));

  EXPECT_TRUE(this->copy(this->at("narrow"), this->at("copy")));
  EXPECT_EQ(
      this->files().copy_files({this->at("wide")}, this->at("d"), velmora::Copy_Option::OVERWRITE_EXISTING),
      1U);

  EXPECT_EQ(this->mode_of(this->at("copy")), 0644U);
  EXPECT_EQ(this->mode_of(this->at("d/wide")), 0644U);
}

TYPED_TEST_P(PrivateDirectoryContract, APrivateDirectoryIsForItsOwnerAlone) {
  EXPECT_TRUE(this->files().create_directories(this->private_directory()));

  EXPECT_EQ(this->mode_of(this->private_directory()), 0700U);
}

TYPED_TEST_P(PrivateDirectoryContract, APrivateDirectoryThatOthersMayEnterIsClosed) {
  this->given_private_directory();
  this->given_file(this->private_directory() / "a", "text", 0644);
  this->set_mode(this->private_directory(), 0755);

  EXPECT_TRUE(this->files().create_directories(this->private_directory()));

  EXPECT_EQ(this->mode_of(this->private_directory()), 0700U);
  EXPECT_EQ(this->files().read_file(this->private_directory() / "a", velmora::Read_Flag::WHOLE_TEXT), "text");
}

TYPED_TEST_P(PrivateDirectoryContract, ACopyIntoAPrivateDirectoryHasTheModeOfItsSource) {
  this->given_private_directory();
  this->given_file(this->at("narrow"), "secret", 0640);
  this->given_file(this->at("wide"), "text", 0664);

  EXPECT_EQ(this->files().copy_files({this->at("narrow"), this->at("wide")}, this->private_directory(),
                                     velmora::Copy_Option::OVERWRITE_EXISTING),
            2U);

  EXPECT_EQ(this->mode_of(this->private_directory() / "narrow"), 0640U);
  EXPECT_EQ(this->mode_of(this->private_directory() / "wide"), 0664U);
}

TYPED_TEST_P(PrivateDirectoryContract, ACopyOutOfAPrivateDirectoryHasTheModeOfItsSource) {
  this->given_private_directory();
  this->given_file(this->private_directory() / "a", "secret", 0600);
  this->given_file(this->at("a"), "ours", 0644);

  EXPECT_TRUE(this->copy(this->private_directory() / "a", this->at("a")));

  EXPECT_EQ(this->mode_of(this->at("a")), 0600U);
}

REGISTER_TYPED_TEST_SUITE_P(PrivateDirectoryContract, FilesAndDirectoriesAreForEverybodyToRead,
                            ACopyElsewhereIsForEverybodyToReadWhateverItsSourceIs,
                            APrivateDirectoryIsForItsOwnerAlone, APrivateDirectoryThatOthersMayEnterIsClosed,
                            ACopyIntoAPrivateDirectoryHasTheModeOfItsSource,
                            ACopyOutOfAPrivateDirectoryHasTheModeOfItsSource);

}  // namespace zant::velmora_host::contract
