#include <zant/velmora_host/observation/observed_filesystem.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What the recorder is told, by what it writes down of a cycle.
class ObservedFilesystem : public ::testing::Test {
 protected:
  ObservedFilesystem() {
    fake().add_directory("/host");
    fake().add_file("/state/staging/a", "A");
    fake().add_file("/state/staging/b", "B");
  }

  velmora::test_support::Fake_Filesystem& fake() const { return disk_->fake(); }

  void in_a_cycle(const std::function<void()>& work) {
    recorder_->begin_cycle();
    work();
    recorder_->end_cycle(std::nullopt);
  }

  Cycle_State state() const { return cycle_store::read(*disk_, "/state/last-cycle.json").value(); }

  // The files that changed in the last cycle.
  std::vector<std::string> changed() const {
    std::vector<std::string> paths;
    for (const auto& file : state().last_cycle.files) {
      paths.push_back(path(file.path).generic_string());
    }
    return paths;
  }

  // The files that are known to be the library's.
  std::vector<std::string> known() const {
    std::vector<std::string> paths;
    for (const auto& file : state().history.known_files) {
      paths.push_back(path(file.first).generic_string());
    }
    return paths;
  }

  std::shared_ptr<test_support::Fake_Host_Filesystem> disk_ =
      std::make_shared<test_support::Fake_Host_Filesystem>();
  const APT_Family family_;
  std::shared_ptr<Cycle_Recorder> recorder_ =
      std::make_shared<Cycle_Recorder>("run", disk_, family_, "/state/last-cycle.json");
  Observed_Filesystem files_{disk_, recorder_, "/state/staging"};
};

TEST_F(ObservedFilesystem, TellsWhichStagedFilesAreCopied) {
  in_a_cycle([this] {
    EXPECT_EQ(files_.copy_files({"/state/staging/a", "/state/staging/b"}, "/host",
                                velmora::Copy_Option::OVERWRITE_EXISTING),
              2U);
  });

  EXPECT_THAT(changed(), ElementsAre("/host/a", "/host/b"));
  EXPECT_THAT(known(), ElementsAre("/host/a", "/host/b"));
}

TEST_F(ObservedFilesystem, DoesNotTakeOtherFilesForTheLibrarys) {
  fake().add_file("/state/staging-of-another/a", "A");
  fake().add_file("/elsewhere/b", "B");

  in_a_cycle([this] {
    files_.copy_file("/state/staging-of-another/a", "/host/a", velmora::Copy_Option::OVERWRITE_EXISTING);
    files_.copy_files({"/elsewhere/b"}, "/host", velmora::Copy_Option::OVERWRITE_EXISTING);
  });

  EXPECT_THAT(known(), IsEmpty());
}

TEST_F(ObservedFilesystem, DoesNotTakeFilesForInstalledWhenNotAllWereCopied) {
  fake().fail_copies_of("/state/staging/b");

  in_a_cycle([this] {
    EXPECT_EQ(files_.copy_files({"/state/staging/a", "/state/staging/b"}, "/host",
                                velmora::Copy_Option::OVERWRITE_EXISTING),
              1U);
  });

  EXPECT_THAT(known(), IsEmpty());
}

TEST_F(ObservedFilesystem, DoesNotTakeAFileThatCouldNotBeCopiedForInstalled) {
  fake().add_file("/host/a", "old");
  fake().fail_copies_of("/state/staging/a");

  in_a_cycle([this] {
    EXPECT_FALSE(files_.copy_file("/state/staging/a", "/host/a", velmora::Copy_Option::OVERWRITE_EXISTING));
  });

  EXPECT_THAT(known(), IsEmpty());
}

TEST_F(ObservedFilesystem, TellsOfEachFileOfAListThatIsRemoved) {
  fake().add_file("/host/a", "A");
  fake().add_file("/host/b", "B");
  fake().add_file("/host/kept", "C");

  in_a_cycle([this] { files_.remove(std::vector<path>{"/host/a", "/host/b"}); });

  EXPECT_THAT(changed(), ElementsAre("/host/a", "/host/b"));
}

TEST_F(ObservedFilesystem, TellsOfAFileThatIsRemoved) {
  fake().add_file("/host/a", "A");

  in_a_cycle([this] { EXPECT_TRUE(files_.remove(path("/host/a"))); });

  EXPECT_THAT(changed(), ElementsAre("/host/a"));
}

TEST_F(ObservedFilesystem, TakesAFileThatEqualsAStagedOneForTheLibrarys) {
  fake().add_file("/host/a", "A");
  fake().add_file("/host/b", "B");

  in_a_cycle([this] {
    EXPECT_TRUE(files_.files_equal("/state/staging/a", "/host/a"));
    EXPECT_TRUE(files_.files_equal("/host/b", "/state/staging/b"));
  });

  EXPECT_THAT(known(), ElementsAre("/host/a", "/host/b"));
  EXPECT_THAT(changed(), IsEmpty());
}

TEST_F(ObservedFilesystem, TakesNeitherOfTwoFilesForTheLibrarysThatAreBothStagedOrBothNot) {
  fake().add_file("/state/staging/copy-of-a", "A");
  fake().add_file("/host/one", "same");
  fake().add_file("/host/other", "same");

  in_a_cycle([this] {
    EXPECT_TRUE(files_.files_equal("/state/staging/a", "/state/staging/copy-of-a"));
    EXPECT_TRUE(files_.files_equal("/host/one", "/host/other"));
  });

  EXPECT_THAT(known(), IsEmpty());
}

TEST_F(ObservedFilesystem, DoesNotTakeAFileThatDiffersForTheLibrarys) {
  fake().add_file("/host/a", "edited");

  in_a_cycle([this] { EXPECT_FALSE(files_.files_equal("/state/staging/a", "/host/a")); });

  EXPECT_THAT(known(), IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
