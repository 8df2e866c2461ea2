#include <zant/velmora_host/staging/work_area.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/captured_log.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>
#include <support/host_side/staging_example.hpp>

#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace zant::velmora_host {
namespace {

using boost::filesystem::exists;
using boost::filesystem::path;
using ::testing::StartsWith;

class WorkArea : public ::testing::Test {
 protected:
  WorkArea() { test_support::make_staging_tree(directory_.path() / "installed"); }

  path state() const { return directory_.path() / "var" / "state"; }
  Settings settings() const {
    Settings_Sources sources;
    sources.file = "/nowhere";
    sources.overrides = {{"minder.staging_directory", (directory_.path() / "installed").string()},
                         {"minder.state_directory", state().string()}};
    return Settings(sources);
  }
  std::string refusal(Refusal_Reason reason) const {
    try {
      const Work_Area area(settings(), layout_, files_);
    } catch (const Refusal& refusal) {
      EXPECT_EQ(refusal.reason(), reason);
      return refusal.what();
    }
    return "";
  }

  velmora::test_support::Captured_Log log_;
  const Staging_Layout layout_ = Family_Registry::built_in().staging_layout();
  Temporary_Directory directory_;
  std::shared_ptr<velmora::Filesystem> files_ = std::make_shared<File_Service>();
};

TEST_F(WorkArea, HasAFreshCopyOfTheStagingTree) {
  const Work_Area area(settings(), layout_, files_);

  EXPECT_EQ(area.staging_directory(), state() / "staging");
  EXPECT_EQ(files_->read_file(area.staging_directory() / "keyrings/zant-velmora.gpg",
                              velmora::Read_Flag::WHOLE_TEXT),
            "the keys");
}

TEST_F(WorkArea, KeepsNothingOfAnEarlierRun) {
  { const Work_Area earlier(settings(), layout_, files_); }
  files_->create_directories(state() / "staging/config-files/apt");
  files_->write_file(state() / "staging/config-files/apt/zant-on-calendar.conf", "stale",
                     velmora::Write_Flag::REPLACE);
  files_->create_directories(state() / "staging.new");
  files_->write_file(state() / "staging.new/half", "half", velmora::Write_Flag::REPLACE);

  const Work_Area area(settings(), layout_, files_);

  EXPECT_FALSE(exists(area.staging_directory() / "config-files/apt/zant-on-calendar.conf"));
  EXPECT_FALSE(exists(area.staging_directory() / "half"));
  EXPECT_FALSE(exists(state() / "staging.new"));
}

TEST_F(WorkArea, IsForOneProcessAtATime) {
  const Work_Area area(settings(), layout_, files_);

  EXPECT_THAT(refusal(Refusal_Reason::BUSY), StartsWith("another package-minder (process "));
}

TEST_F(WorkArea, OfAnotherProcessIsLeftAlone) {
  const Work_Area area(settings(), layout_, files_);
  files_->write_file(area.staging_directory() / "rendered", "text", velmora::Write_Flag::REPLACE);

  refusal(Refusal_Reason::BUSY);

  EXPECT_TRUE(exists(area.staging_directory() / "rendered"));
}

TEST_F(WorkArea, IsRefusedWhereADirectoryCannotBe) {
  std::ofstream((directory_.path() / "var").string()) << "a file in the way";

  EXPECT_EQ(refusal(Refusal_Reason::BAD_SETTINGS),
            state().string() +
                ": the state directory cannot be created; the state directory must belong to root alone and "
                "be writable, or minder.state_directory must name another one");
}

TEST_F(WorkArea, IsRefusedWhereOthersMayWrite) {
  namespace fs = boost::filesystem;
  files_->create_directories(state());
  fs::permissions(state(), fs::add_perms | fs::others_write);

  EXPECT_THAT(refusal(Refusal_Reason::BAD_SETTINGS),
              StartsWith(state().string() + ": may be changed by others (mode 0757)"));
}

TEST_F(WorkArea, IsRefusedWhereItCannotBeLocked) {
  files_->create_directories(state() / "lock");
  files_->write_file(state() / "package-minder-state", "", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(refusal(Refusal_Reason::BAD_SETTINGS),
              StartsWith(state().string() + ": cannot open " + (state() / "lock").string()));
}

TEST_F(WorkArea, CarriesItsMark) {
  const Work_Area area(settings(), layout_, files_);

  EXPECT_TRUE(exists(state() / "package-minder-state"));
}

TEST_F(WorkArea, IsRefusedBelowADirectoryOfOthers) {
  namespace fs = boost::filesystem;
  files_->create_directories(state());
  fs::permissions(state().parent_path(), fs::add_perms | fs::others_write);

  EXPECT_THAT(refusal(Refusal_Reason::BAD_SETTINGS),
              StartsWith(state().string() + ": can be replaced: " + state().parent_path().string() +
                         " may be changed by others (mode 0757)"));
  EXPECT_TRUE(fs::is_empty(state()));
}

TEST_F(WorkArea, IsNotMadeOfADirectoryOfSomebodyElse) {
  files_->create_directories(state() / "staging");
  files_->write_file(state() / "staging/precious", "text", velmora::Write_Flag::REPLACE);

  EXPECT_THAT(refusal(Refusal_Reason::BAD_SETTINGS),
              StartsWith(state().string() + ": is not empty, and holds no file package-minder-state"));

  files_->write_file(state() / "notes", "text", velmora::Write_Flag::REPLACE);
  EXPECT_THAT(refusal(Refusal_Reason::BAD_SETTINGS),
              StartsWith(state().string() + ": holds notes, and no file package-minder-state"));
  EXPECT_TRUE(exists(state() / "staging/precious"));
  EXPECT_FALSE(exists(state() / "package-minder-state"));
  EXPECT_FALSE(exists(state() / "lock"));
}

TEST_F(WorkArea, IsMadeOfAnEmptyDirectory) {
  files_->create_directories(state() / "lost+found");

  EXPECT_EQ(refusal(Refusal_Reason::BAD_SETTINGS), "");
  EXPECT_TRUE(exists(state() / "package-minder-state"));
}

TEST_F(WorkArea, TakesOverWhatAnEarlierVersionLeft) {
  files_->create_directories(state() / "staging");
  files_->write_file(state() / "lock", "4194304000", velmora::Write_Flag::REPLACE);
  files_->write_file(state() / "settings-in-force.json", "{}", velmora::Write_Flag::REPLACE);
  files_->write_file(state() / ".last-cycle.json.aBcDeF.package-minder", "{", velmora::Write_Flag::REPLACE);

  EXPECT_EQ(refusal(Refusal_Reason::BAD_SETTINGS), "");
  EXPECT_TRUE(exists(state() / "package-minder-state"));
}

TEST_F(WorkArea, IsNotMadeOfADirectoryWithALockOfSomethingElse) {
  files_->create_directories(state() / "staging");
  files_->write_file(state() / "lock", "locked by somebody", velmora::Write_Flag::REPLACE);

  EXPECT_NE(refusal(Refusal_Reason::BAD_SETTINGS), "");
  EXPECT_TRUE(exists(state() / "staging"));
}

TEST_F(WorkArea, LeavesNothingAfterItsRemoval) {
  Work_Area area(settings(), layout_, files_);

  area.remove();

  EXPECT_FALSE(exists(state()));
}

TEST_F(WorkArea, LeavesWhatIsNotItsOwn) {
  Work_Area area(settings(), layout_, files_);
  files_->write_file(state() / "somebody-elses", "text", velmora::Write_Flag::REPLACE);

  area.remove();

  EXPECT_TRUE(exists(state() / "somebody-elses"));
  EXPECT_FALSE(exists(state() / "staging"));
  EXPECT_FALSE(exists(state() / "lock"));
  EXPECT_EQ(refusal(Refusal_Reason::BAD_SETTINGS), "") << "it still has its mark";
}

}  // namespace
}  // namespace zant::velmora_host
