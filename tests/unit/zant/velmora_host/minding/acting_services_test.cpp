#include <zant/velmora_host/minding/acting_services.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace zant::velmora_host {
namespace {

// What a cycle or a purge leaves noted, as lines.
class ActingServices : public ::testing::Test {
 protected:
  static inline const std::string LIST = "/etc/apt/sources.list.d/zant-velmora.list";
  static inline const std::string SWITCHES = "/etc/apt/apt.conf.d/20auto-upgrades";
  static inline const std::string DROP_IN =
      "/etc/systemd/system/apt-daily-upgrade.timer.d/apt-daily-upgrade.timer.on-calendar.conf";

  ActingServices() {
    boost::filesystem::create_directories(host_.state_directory());
    host_.allow_changes();
    note(SWITCHES + "\n" + LIST + "\n");
  }

  void note(const std::string& lines) const { std::ofstream(journal().string()) << lines; }

  std::string noted() const {
    std::ifstream stream(journal().string());
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  boost::filesystem::path journal() const { return host_.state_directory() / "unfinished"; }

  Acting_Services begin() { return {host_.services, family_, settings_}; }

  // Which of the vendor's and another server's lists are there while APT refreshes them.
  std::string lists_during_a_refresh() {
    host_.write(LISTS + "repo.velmora.example_velmora-apt-repo_dists_systemd-production_InRelease", "");
    host_.write(LISTS + "repo.velmora.example.org_debian_dists_bookworm_InRelease", "signed");
    std::string there;
    host_.system->during("apt-get -qq update", [&] {
      for (const auto& file : host_.services.filesystem->list_entries("/var/lib/apt/lists")) {
        there += file.filename().string() + "\n";
      }
    });
    begin().services().system->run_command("apt-get -qq update", velmora::Run_Flag::WAIT_AND_CAPTURE);
    return there;
  }

  static inline const std::string LISTS = "/var/lib/apt/lists/";
  test_support::Debian_Host host_;
  const APT_Family family_;
  const Settings settings_ = host_.settings();
};

TEST_F(ActingServices, OfAFailedPurgeForgetNothing) {
  begin().end_purge(Purge_Scope::EVERYTHING, false);

  EXPECT_EQ(noted(), SWITCHES + "\n" + LIST + "\n");
}

TEST_F(ActingServices, OfAPurgeOfTheUpgradesForgetThose) {
  begin().end_purge(Purge_Scope::UPGRADES, true);

  EXPECT_EQ(noted(), LIST + "\n");
}

TEST_F(ActingServices, OfAWholePurgeForgetEverything) {
  begin().end_purge(Purge_Scope::EVERYTHING, true);

  EXPECT_FALSE(boost::filesystem::exists(journal()));
}

TEST_F(ActingServices, OfACycleThatReachedNoStepForgetNothing) {
  begin().end_cycle({});

  EXPECT_EQ(noted(), SWITCHES + "\n" + LIST + "\n");
}

TEST_F(ActingServices, NoteTheTimersFilesBeforeItIsReloaded) {
  note("");
  const std::string reload = "systemctl daemon-reload && systemctl restart apt-daily-upgrade.timer";
  host_.system->on(reload, 0);
  std::string before;
  host_.system->during(reload, [&] { before = noted(); });

  begin().services().system->run_command(reload, velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_THAT(before, ::testing::HasSubstr(DROP_IN + "\n"));
}

TEST_F(ActingServices, RefreshWhatAKilledRefreshMayHaveTorn) {
  EXPECT_EQ(lists_during_a_refresh(), "repo.velmora.example.org_debian_dists_bookworm_InRelease\n");
}

TEST_F(ActingServices, LeaveWhatAFinishedRefreshHasLeft) {
  note(SWITCHES + "\n");

  EXPECT_EQ(lists_during_a_refresh(),
            "repo.velmora.example.org_debian_dists_bookworm_InRelease\n"
            "repo.velmora.example_velmora-apt-repo_dists_systemd-production_InRelease\n");
}

TEST_F(ActingServices, HaveWhatWasRefreshedWrittenToTheDisk) {
  begin().services().system->run_command("apt-get -qq update", velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_THAT(host_.system->commands(),
              ::testing::ElementsAre("apt-get -qq update", "sync --file-system /var/lib/apt/lists"));
}

TEST_F(ActingServices, HaveNothingWrittenAfterARefreshThatFailed) {
  host_.system->on("apt-get -qq update", 100);

  begin().services().system->run_command("apt-get -qq update", velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_THAT(host_.system->commands(), ::testing::ElementsAre("apt-get -qq update"));
}

TEST_F(ActingServices, CallNoRefreshDoneThatMayNotLast) {
  host_.system->on("sync --file-system /var/lib/apt/lists", 1);

  EXPECT_THROW(
      begin().services().system->run_command("apt-get -qq update", velmora::Run_Flag::WAIT_AND_CAPTURE),
      std::runtime_error);
}

TEST_F(ActingServices, TellWhatOfKilledProcessesCouldNotBeRemoved) {
  const std::string temporary = "/etc/apt/apt.conf.d/.20auto-upgrades.a1B2c3.package-minder";
  host_.write(temporary, "torn");

  EXPECT_THAT(begin().leftovers(), ::testing::IsEmpty());
  EXPECT_FALSE(boost::filesystem::exists(host_.on_disk(temporary)));
}

}  // namespace
}  // namespace zant::velmora_host
