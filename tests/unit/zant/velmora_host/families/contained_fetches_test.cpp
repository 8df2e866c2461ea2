#include <zant/velmora_host/families/contained_fetches.hpp>

#include <support/captured_log.hpp>
#include <support/host_side/made_up_family.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr const char* FETCH = "parcel fetch";
constexpr int ERROR = 5;

class Fetching_Family : public test_support::Parcel_Family {
 public:
  std::optional<std::string> contained_form_of(const std::string& line,
                                               const path& directory) const override {
    return line == FETCH ? std::optional(line + " into " + directory.string()) : std::nullopt;
  }
};

// Fetches so many bytes into the directory that its command line names.
class Fetching_System : public Interruptible_System {
 public:
  velmora::Command_Result run_command(const std::string& command, bool /*flag*/) override {
    return fetch_(command);
  }
  velmora::Command_Result run_command_within(const std::string& command,
                                             const Command_Bounds& /*bounds*/) override {
    return fetch_("within: " + command);
  }

  std::vector<std::string> commands;
  path directory;
  std::uintmax_t size = 1;
  int exit_code = 0;

 private:
  velmora::Command_Result fetch_(const std::string& command) {
    commands.push_back(command);
    const auto begin = command.find(" into ");
    if (begin != std::string::npos) {
      directory = command.substr(begin + std::string(" into ").size());
      EXPECT_TRUE(boost::filesystem::is_directory(directory));
      std::ofstream((directory / "fetched").string()) << "";
      boost::filesystem::resize_file(directory / "fetched", size);
    }
    return {"output", exit_code};
  }
};

Family_Registry fetching_families() {
  std::vector<std::unique_ptr<Family>> families;
  families.push_back(std::make_unique<Fetching_Family>());
  return Family_Registry(std::move(families));
}

class ContainedFetches : public ::testing::Test {
 protected:
  const Family_Registry families_ = fetching_families();
  std::shared_ptr<Fetching_System> real_ = std::make_shared<Fetching_System>();
  velmora::test_support::Captured_Log log_;
  Contained_Fetches contained_{real_, families_};
};

TEST_F(ContainedFetches, LeavesOtherCommandLinesAsTheyAre) {
  EXPECT_EQ(contained_.run_command("parcel list", true).output, "output");
  contained_.run_command_within("parcel list", {});

  EXPECT_THAT(real_->commands, ElementsAre("parcel list", "within: parcel list"));
}

TEST_F(ContainedFetches, GivesEachFetchADirectoryThatGoesWithIt) {
  EXPECT_EQ(contained_.run_command(FETCH, true).exit_code, 0);
  const path first = real_->directory;
  contained_.run_command_within(FETCH, {});

  EXPECT_THAT(real_->commands,
              ElementsAre(StartsWith("parcel fetch into /"), StartsWith("within: parcel fetch into /")));
  EXPECT_NE(real_->directory, first);
  EXPECT_FALSE(boost::filesystem::exists(first));
  EXPECT_FALSE(boost::filesystem::exists(real_->directory));
}

TEST_F(ContainedFetches, SaysWhenThereWasMoreThanMayBeFetched) {
  real_->size = 4194304;
  real_->exit_code = 1;

  EXPECT_EQ(contained_.run_command(FETCH, true).exit_code, 63);

  EXPECT_THAT(log_.messages(ERROR),
              ElementsAre("What a command fetched is larger than 4 MiB and was cut off | Command: "
                          "parcel fetch"));
  EXPECT_FALSE(boost::filesystem::exists(real_->directory));
}

TEST_F(ContainedFetches, LeavesOtherFailuresToTheCommand) {
  real_->size = 4194303;
  real_->exit_code = 1;

  EXPECT_EQ(contained_.run_command(FETCH, true).exit_code, 1);
}

}  // namespace
}  // namespace zant::velmora_host
