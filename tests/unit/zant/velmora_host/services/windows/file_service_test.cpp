#include <zant/velmora_host/services/file_service.hpp>

#include <support/captured_log.hpp>
#include <windows/scratch_directory.hpp>

#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/services/windows/handle.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora = zant::velmora;
using namespace zant::velmora_host;
using zant::velmora::test_support::Captured_Log;
using namespace zant::velmora_host::test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using namespace std::string_literals;

namespace {

class WindowsFileService : public testing::Test {
 protected:
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : boost::filesystem::directory_iterator(directory.path())) {
      found.push_back(entry.path().filename().string());
    }
    return found;
  }

  // Open without sharing it with anybody.
  static Handle open_alone(const boost::filesystem::path& file) {
    return Handle(::CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  }

  Scratch_Directory directory;
  const boost::filesystem::path file = directory / "file.txt";
  Captured_Log log;
  File_Service filesystem;
};

TEST_F(WindowsFileService, StoresTextsWithoutATranslationOfLineEnds) {
  const std::string text = "one\ntwo\r\nthree\x1a four\0five"s;

  ASSERT_TRUE(filesystem.write_file(file, text, velmora::Write_Flag::REPLACE));

  EXPECT_EQ(contents(file), text);
  EXPECT_EQ(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT), text);
}

TEST_F(WindowsFileService, DropsALineEndOfWindowsWhenToldTo) {
  write(file, "systemd\r\n");

  EXPECT_EQ(filesystem.read_file(file, velmora::Read_Flag::WITHOUT_LINE_END), "systemd");
}

TEST_F(WindowsFileService, TakesNamesInUtf8) {
  const auto named = directory / "tête ξ.txt";

  ASSERT_TRUE(filesystem.write_file(named, "x", velmora::Write_Flag::REPLACE));

  EXPECT_THAT(names(), ElementsAre("tête ξ.txt"));
  EXPECT_THAT(filesystem.list_files(directory.path(), ".txt"), ElementsAre(named));
}

TEST_F(WindowsFileService, LeavesAFileThatSomebodyHasOpenAsItIsAndNothingBesideIt) {
  write(file, "old");
  const Handle reader = open_alone(file);

  EXPECT_FALSE(filesystem.write_file(file, "new", velmora::Write_Flag::REPLACE));

  EXPECT_THAT(names(), ElementsAre("file.txt"));
  EXPECT_THAT(log.messages(4), ElementsAre(StartsWith("Cannot write " + file.string() + ": ")));
}

TEST_F(WindowsFileService, CannotRemoveAFileThatSomebodyHasOpen) {
  write(file, "old");
  const Handle reader = open_alone(file);

  EXPECT_FALSE(filesystem.remove(file));
  filesystem.remove(std::vector<velmora::Filesystem::Path>{file});

  EXPECT_TRUE(boost::filesystem::exists(file));
  EXPECT_THAT(log.messages(4), SizeIs(2));
}

TEST_F(WindowsFileService, DoesNotLogThatSomethingIsMissing) {
  const auto missing = directory / "no such directory" / "file";

  EXPECT_FALSE(filesystem.remove(missing));
  filesystem.remove(std::vector<velmora::Filesystem::Path>{missing});
  filesystem.remove_all(missing);
  EXPECT_FALSE(filesystem.exists(missing));
  EXPECT_FALSE(filesystem.is_empty(missing));
  EXPECT_THAT(filesystem.list_files(missing, ".txt"), IsEmpty());
  EXPECT_EQ(filesystem.read_file(missing, velmora::Read_Flag::WHOLE_TEXT), "");
  EXPECT_FALSE(filesystem.files_equal(missing, missing));

  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(WindowsFileService, CreatesDirectoriesThatOnlyAdministratorsMayChange) {
  const auto created = directory / "a" / "b";

  ASSERT_TRUE(filesystem.create_directories(created));

  EXPECT_EQ(privileges::who_else_may_write(created), "");
  EXPECT_TRUE(filesystem.write_file(created / "file", "x", velmora::Write_Flag::REPLACE));
  EXPECT_EQ(privileges::who_else_may_write(created / "file"), "");
}

TEST_F(WindowsFileService, SaysSoWhenADirectoryCannotBeCreated) {
  write(file, "in the way");

  EXPECT_FALSE(filesystem.create_directories(file / "a"));
  EXPECT_THAT(log.messages(4),
              ElementsAre(StartsWith("Cannot create the directory " + file.string() + ": ")));
}

}  // namespace
