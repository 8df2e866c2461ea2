#include <zant/velmora_host/reports/planning_filesystem.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PlanningFilesystem : public ::testing::Test {
 protected:
  PlanningFilesystem() {
    boost::filesystem::create_directories(host("timer.d"));
    boost::filesystem::create_directories(directory_.path() / "scratch");
    write(host("there"), "old\n");
    write(host("timer.d/one.conf"), "1\n");
  }

  path host(const std::string& name) const { return directory_.path() / "host" / name; }
  path scratch(const std::string& name) const { return directory_.path() / "scratch" / name; }

  static void write(const path& file, const std::string& text) { std::ofstream(file.string()) << text; }
  static std::string read(const path& file) {
    std::ifstream stream(file.string());
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  // "PATH: BEFORE -> AFTER", "-" for no file.
  std::vector<std::string> changes() const {
    std::vector<std::string> texts;
    for (const auto& change : files_.changes()) {
      texts.push_back(boost::filesystem::relative(change.path, host("")).string() + ": " +
                      change.before.value_or("-") + " -> " + change.after.value_or("-"));
    }
    return texts;
  }

  Temporary_Directory directory_;
  Planning_Filesystem files_{std::make_shared<File_Service>(), directory_.path() / "scratch"};
};

TEST_F(PlanningFilesystem, ShowsTheRealFiles) {
  EXPECT_TRUE(files_.exists(host("there")));
  EXPECT_EQ(files_.read_file(host("there"), velmora::Read_Flag::WITHOUT_LINE_END), "old");
  EXPECT_THAT(files_.list_files(host("timer.d"), ".conf"), ElementsAre(host("timer.d/one.conf")));
  EXPECT_FALSE(files_.is_empty(host("timer.d")));
  EXPECT_FALSE(files_.exists(host("missing")));
  EXPECT_EQ(files_.read_file(host("missing"), velmora::Read_Flag::WHOLE_TEXT), "");
}

TEST_F(PlanningFilesystem, KeepsAReplacedFileInMemory) {
  EXPECT_TRUE(files_.write_file(host("there"), "new\n", velmora::Write_Flag::REPLACE));

  EXPECT_EQ(files_.read_file(host("there"), velmora::Read_Flag::WITHOUT_LINE_END), "new");
  EXPECT_EQ(read(host("there")), "old\n");
  EXPECT_THAT(changes(), ElementsAre("there: old\n -> new\n"));
}

TEST_F(PlanningFilesystem, DoesNotReportWhatIsWrittenAsItWas) {
  files_.write_file(host("there"), "old\n", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(PlanningFilesystem, CopiesIntoMemory) {
  write(scratch("source"), "text");

  EXPECT_TRUE(files_.copy_file(scratch("source"), host("copy"), velmora::Copy_Option::OVERWRITE_EXISTING));
  EXPECT_EQ(files_.copy_files({scratch("source"), scratch("none")}, host("timer.d"), 2), 1U);

  EXPECT_TRUE(files_.files_equal(host("copy"), scratch("source")));
  EXPECT_FALSE(boost::filesystem::exists(host("copy")));
  EXPECT_THAT(changes(), ElementsAre("copy: - -> text", "timer.d/source: - -> text"));
}

TEST_F(PlanningFilesystem, FailsToCopyAndWriteWhereTheRealOneWould) {
  write(scratch("source"), "text");

  EXPECT_FALSE(files_.copy_file(scratch("none"), host("copy"), velmora::Copy_Option::OVERWRITE_EXISTING));
  EXPECT_FALSE(
      files_.copy_file(scratch("source"), host("no/directory"), velmora::Copy_Option::OVERWRITE_EXISTING));
  EXPECT_FALSE(files_.copy_file(scratch("source"), host("there"), 0));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(PlanningFilesystem, RemovesInMemory) {
  EXPECT_TRUE(files_.remove(host("there")));
  EXPECT_FALSE(files_.remove(host("there")));

  EXPECT_FALSE(files_.exists(host("there")));
  EXPECT_FALSE(files_.files_equal(host("there"), host("there")));
  EXPECT_TRUE(boost::filesystem::exists(host("there")));
  EXPECT_THAT(changes(), ElementsAre("there: old\n -> -"));
}

TEST_F(PlanningFilesystem, EmptiesADirectoryInMemory) {
  EXPECT_FALSE(files_.remove(host("timer.d"))) << "not while something is in it";

  files_.remove(std::vector<path>{host("timer.d/one.conf"), host("timer.d/none.conf")});

  EXPECT_TRUE(files_.is_empty(host("timer.d")));
  EXPECT_TRUE(files_.remove(host("timer.d")));
  EXPECT_FALSE(files_.exists(host("timer.d")));
  EXPECT_THAT(changes(), ElementsAre("timer.d/one.conf: 1\n -> -"));
}

TEST_F(PlanningFilesystem, ReplacesADirectoryWhole) {
  write(scratch("two.conf"), "2\n");

  files_.remove_all(host("timer.d"));
  EXPECT_FALSE(files_.exists(host("timer.d/one.conf")));
  EXPECT_TRUE(files_.create_directories(host("timer.d")));
  EXPECT_TRUE(files_.is_empty(host("timer.d")));
  EXPECT_TRUE(files_.copy_file(scratch("two.conf"), host("timer.d/two.conf"),
                               velmora::Copy_Option::OVERWRITE_EXISTING));

  EXPECT_THAT(files_.list_files(host("timer.d"), ".conf"), ElementsAre(host("timer.d/two.conf")));
  EXPECT_THAT(changes(), ElementsAre("timer.d/one.conf: 1\n -> -", "timer.d/two.conf: - -> 2\n"));
}

TEST_F(PlanningFilesystem, ForgetsWhatIsRemovedAgain) {
  files_.write_file(host("new"), "text", velmora::Write_Flag::REPLACE);
  files_.remove(host("new"));

  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(PlanningFilesystem, ReportsTheFilesOfADirectoryThatAFileReplaces) {
  files_.remove_all(host("timer.d"));
  files_.write_file(host("timer.d"), "now a file\n", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(changes(), ElementsAre("timer.d: - -> now a file\n", "timer.d/one.conf: 1\n -> -"));
}

TEST_F(PlanningFilesystem, DoesNotReportAFileThatIsRemovedAndWrittenAgainAsItWas) {
  files_.remove_all(host("timer.d"));
  files_.create_directories(host("timer.d"));
  files_.write_file(host("timer.d/one.conf"), "1\n", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(PlanningFilesystem, ReportsAFileThatWouldGetTheCommonAccess) {
  const auto real = std::make_shared<test_support::Fake_Host_Filesystem>();
  real->fake().add_file("/etc/list", "text");
  real->fake().add_file("/scratch/list", "text");
  Planning_Filesystem files(real, "/scratch");
  EXPECT_TRUE(files.files_equal("/scratch/list", "/etc/list"));

  real->lock_away("/etc/list");
  EXPECT_FALSE(files.files_equal("/scratch/list", "/etc/list"));
  EXPECT_THAT(files.changes(), IsEmpty());
  files.copy_file("/scratch/list", "/etc/list", velmora::Copy_Option::OVERWRITE_EXISTING);

  EXPECT_TRUE(files.files_equal("/scratch/list", "/etc/list"));
  ASSERT_EQ(files.changes().size(), 1U);
  EXPECT_EQ(files.changes().front().path, "/etc/list");
  EXPECT_EQ(files.changes().front().before, files.changes().front().after);
}

TEST_F(PlanningFilesystem, RemovesALinkThatLeadsNowhere) {
  boost::filesystem::create_symlink("nothing", host("timer.d/dangling.conf"));

  EXPECT_FALSE(files_.exists(host("timer.d/dangling.conf")));
  EXPECT_FALSE(files_.create_directories(host("timer.d/dangling.conf")));
  EXPECT_TRUE(files_.remove(host("timer.d/dangling.conf")));
  EXPECT_FALSE(files_.remove(host("timer.d/dangling.conf")));

  EXPECT_THAT(files_.list_entries(host("timer.d")), ElementsAre(host("timer.d/one.conf")));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(PlanningFilesystem, TakesOtherSpellingsOfAPathForTheSamePlace) {
  files_.write_file(host("timer.d/../there"), "new\n", velmora::Write_Flag::REPLACE);
  files_.create_directories(host("made/"));

  EXPECT_EQ(files_.read_file(host("there"), velmora::Read_Flag::WHOLE_TEXT), "new\n");
  EXPECT_TRUE(files_.is_empty(host("made")));
  EXPECT_THAT(changes(), ElementsAre("there: old\n -> new\n"));
}

TEST_F(PlanningFilesystem, CreatesDirectoriesOfARelativePath) {
  EXPECT_TRUE(files_.create_directories("no-such-directory-here/below"));

  EXPECT_TRUE(files_.is_empty("no-such-directory-here/below"));
  EXPECT_TRUE(files_.write_file("no-such-file-here", "text", velmora::Write_Flag::REPLACE));
  EXPECT_FALSE(boost::filesystem::exists("no-such-directory-here"));
  EXPECT_FALSE(boost::filesystem::exists("no-such-file-here"));
}

TEST_F(PlanningFilesystem, WritesBelowTheScratchDirectoryForReal) {
  EXPECT_TRUE(files_.create_directories(scratch("sub")));
  EXPECT_TRUE(files_.write_file(scratch("sub/file"), "text", velmora::Write_Flag::REPLACE));
  EXPECT_EQ(read(scratch("sub/file")), "text");

  EXPECT_TRUE(files_.remove(scratch("sub/file")));
  files_.remove_all(scratch("sub"));

  EXPECT_FALSE(boost::filesystem::exists(scratch("sub")));
  EXPECT_THAT(changes(), IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
