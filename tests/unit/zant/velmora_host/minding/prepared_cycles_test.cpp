#include <zant/velmora_host/minding/prepared_cycles.hpp>

#include <zant/velmora_host/minding/cycle_runner.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <fstream>
#include <string>

namespace zant::velmora_host {
namespace {

using ::testing::HasSubstr;

class PreparedCycles : public ::testing::Test {
 protected:
  static constexpr const char* REFRESH = "apt-get -qq update";
  static constexpr const char* SOURCE_LIST = "/etc/apt/sources.list.d/zant-velmora.list";

  PreparedCycles() { host_.allow_changes(); }

  // A process of its own.
  Cycle_Record run_cycle() {
    const Settings settings = host_.settings();
    return Cycle_Runner("once", settings, host_.services).cycles().run_cycle().last_cycle;
  }

  auto refreshes() const {
    const auto commands = host_.system->commands();
    return std::count(commands.begin(), commands.end(), REFRESH);
  }

  boost::filesystem::path journal() const { return host_.state_directory() / "unfinished"; }

  test_support::Debian_Host host_;
};

TEST_F(PreparedCycles, LeaveNothingUnfinished) {
  EXPECT_TRUE(run_cycle().succeeded());

  EXPECT_FALSE(boost::filesystem::exists(journal()));
}

TEST_F(PreparedCycles, ProveAListAgainThatAKilledOneLeftUnproven) {
  run_cycle();
  run_cycle();
  ASSERT_EQ(refreshes(), 1) << "a list that is proven is not proven again";
  std::ofstream(journal().string()) << SOURCE_LIST << "\n";

  EXPECT_TRUE(run_cycle().succeeded());

  EXPECT_EQ(refreshes(), 2);
  EXPECT_FALSE(boost::filesystem::exists(journal()));
}

TEST_F(PreparedCycles, DoAFailedStepAgainUntilItSucceeds) {
  host_.system->on(REFRESH, 100);
  host_.system->on("apt-cache policy zant-velmora", 0, "");
  EXPECT_FALSE(run_cycle().succeeded());
  EXPECT_TRUE(boost::filesystem::exists(journal()));

  host_.system->on(REFRESH, 0);
  EXPECT_TRUE(run_cycle().succeeded());

  EXPECT_FALSE(boost::filesystem::exists(journal()));
}

TEST_F(PreparedCycles, FailWhenAQuestionHasNoAnswer) {
  run_cycle();
  host_.system->on("apt-mark showhold | grep -q ^zant-velmora$", 126);

  const auto record = run_cycle();

  ASSERT_FALSE(record.failures.empty());
  EXPECT_THAT(record.failures.front().message, HasSubstr("No answer to a question, but exit code 126"));
}

TEST_F(PreparedCycles, GiveAFileTheCommonAccessAgain) {
  run_cycle();
  const auto list = host_.on_disk(SOURCE_LIST);
  boost::filesystem::permissions(list, boost::filesystem::no_perms);

  EXPECT_TRUE(run_cycle().succeeded());

  EXPECT_EQ(boost::filesystem::status(list).permissions(), boost::filesystem::perms(0644));
}

TEST_F(PreparedCycles, RemoveWhatAKillLeftOfBackupsAndWrites) {
  const std::string unfinished = "/etc/apt/apt.conf.d/.zant-backups.new/20auto-upgrades";
  const std::string temporary = "/etc/apt/apt.conf.d/.20auto-upgrades.a1B2c3.package-minder";
  host_.write(unfinished, "torn");
  host_.write(temporary, "torn");

  EXPECT_TRUE(run_cycle().succeeded());

  EXPECT_FALSE(boost::filesystem::exists(host_.on_disk(unfinished)));
  EXPECT_FALSE(boost::filesystem::exists(host_.on_disk(temporary)));
}

}  // namespace
}  // namespace zant::velmora_host
