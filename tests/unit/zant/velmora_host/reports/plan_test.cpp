#include <zant/velmora_host/reports/plan.hpp>

#include <zant/velmora_host/base/json_document.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class PlanTest : public ::testing::Test {
 protected:
  Plan plan(Plan::Operation operation = Plan::Operation::CYCLE) {
    return make_plan(operation, host_.settings(), host_.services);
  }

  static std::vector<std::string> changing_commands(const Plan& plan) {
    std::vector<std::string> lines;
    for (const auto& command : plan.commands) {
      if (!command.is_noop) {
        lines.push_back(command.line);
      }
    }
    return lines;
  }

  static std::vector<std::string> paths(const Plan& plan) {
    std::vector<std::string> paths;
    for (const auto& file : plan.files) {
      paths.push_back(file.path.string());
    }
    return paths;
  }

  test_support::Debian_Host host_;
};

TEST_F(PlanTest, SaysThatAHostInStepIsInStep) {
  host_.set_up();

  const auto report = plan();

  EXPECT_FALSE(report.has_changes());
  EXPECT_EQ(report.outcome(), Plan::Outcome::IN_STEP);
  EXPECT_THAT(to_text(report), HasSubstr("This host is in step: the next cycle would change nothing.\n"));
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("has_changes"), false);
}

TEST_F(PlanTest, ListsAllThatANewHostNeedsAndDoesNoneOfIt) {
  const auto report = plan();

  EXPECT_THAT(paths(report),
              ElementsAre("/etc/apt/apt.conf.d/20auto-upgrades", "/etc/apt/apt.conf.d/50unattended-upgrades",
                          "/etc/apt/apt.conf.d/75lowerspeed", "/etc/apt/sources.list.d/zant-velmora.list",
                          "/etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_THAT(changing_commands(report), ElementsAre("apt-get -qq update"));
  EXPECT_EQ(report.outcome(), Plan::Outcome::CHANGES);
  EXPECT_FALSE(host_.services.filesystem->exists("/etc/apt/sources.list.d/zant-velmora.list"));
  EXPECT_FALSE(host_.services.filesystem->exists(host_.state_directory()));
}

TEST_F(PlanTest, ShowsAChangedFileAsADiff) {
  host_.set_up();
  host_.services.filesystem->create_directories("/etc/apt/apt.conf.d/.zant-backups");
  host_.write("/etc/apt/apt.conf.d/75lowerspeed", "Acquire::http::Dl-Limit \"9\";\n");

  const auto files = json_document::Json::parse(to_json_text(plan())).at("files");

  ASSERT_EQ(files.size(), 1U);
  EXPECT_EQ(files[0].at("change"), "replace");
  EXPECT_THAT(files[0].at("diff").get<std::string>(),
              HasSubstr("-Acquire::http::Dl-Limit \"9\";\n+Acquire::http::Dl-Limit \"500\";\n"));
}

TEST_F(PlanTest, ListsTheReleaseOfAHold) {
  host_.set_up();
  host_.hold();

  const auto report = plan();

  EXPECT_THAT(changing_commands(report), ElementsAre("apt-mark -qq unhold zant-velmora"));
  EXPECT_EQ(report.hold, Hold_State::HELD);
}

TEST_F(PlanTest, ListsAnInstallationThatIsNeeded) {
  host_.set_up();
  host_.system->on("which unattended-upgrades > /dev/null", 1);

  EXPECT_THAT(changing_commands(plan()),
              ElementsAre("NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install "
                          "unattended-upgrades"));
}

TEST_F(PlanTest, OfAPurgeListsWhatWouldBeTakenAway) {
  host_.set_up();

  const auto report = plan(Plan::Operation::PURGE);

  EXPECT_THAT(paths(report), ElementsAre("/etc/apt/sources.list.d/zant-velmora.list",
                                         "/etc/apt/trusted.gpg.d/zant-velmora.gpg"));
  EXPECT_THAT(changing_commands(report), IsEmpty()) << "nothing is held";
  EXPECT_EQ(report.outcome(), Plan::Outcome::CHANGES);
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("operation"), "purge");
}

TEST_F(PlanTest, OfAPurgeWithoutAnythingToUndoSaysSo) {
  const auto report = plan(Plan::Operation::PURGE);

  EXPECT_EQ(report.outcome(), Plan::Outcome::IN_STEP);
  EXPECT_THAT(to_text(report), HasSubstr("There is nothing to undo"));
}

TEST_F(PlanTest, OfAPurgeOfTheUpgradesGivesTheHostItsFilesBack) {
  host_.set_up();
  host_.write("/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades", "the host's own\n");

  const auto report = plan(Plan::Operation::PURGE_UPGRADES);

  EXPECT_THAT(to_text(report), HasSubstr("+the host's own\n"));
  EXPECT_THAT(to_text(report), ::testing::Not(HasSubstr("zant-velmora.list")));
}

TEST_F(PlanTest, SaysThatACycleWouldFailWithADirectoryInTheSourceListsPlace) {
  host_.set_up();
  host_.services.filesystem->remove(boost::filesystem::path("/etc/apt/sources.list.d/zant-velmora.list"));
  host_.services.filesystem->create_directories("/etc/apt/sources.list.d/zant-velmora.list");

  const auto report = plan();

  EXPECT_EQ(report.outcome(), Plan::Outcome::FAILS);
  EXPECT_THAT(paths(report), IsEmpty());
}

TEST_F(PlanTest, TellsWhyACycleWouldFail) {
  host_.services.filesystem->remove_all("/etc/apt/trusted.gpg.d");

  const auto report = plan();

  EXPECT_EQ(report.outcome(), Plan::Outcome::FAILS);
  EXPECT_EQ(to_text(report),
            "The next cycle would fail.\n"
            "\nIt would fail after that: Failed to install APT repository keyring for zant-velmora\n");
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("failure"),
            "Failed to install APT repository keyring for zant-velmora");
}

TEST_F(PlanTest, ListsSettingsThatTheHostsOwnFileLoses) {
  host_.write("/etc/apt/apt.conf.d/50unattended-upgrades",
              "Unattended-Upgrade::Package-Blacklist { \"nginx\"; };\n");

  const auto report = plan();

  EXPECT_THAT(to_text(report),
              HasSubstr("\nSettings of this host that its own files lose while they are replaced:\n"
                        "  /etc/apt/apt.conf.d/50unattended-upgrades: Unattended-Upgrade::Package-Blacklist "
                        "\"nginx\" goes out of force\n"));
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("displaced_settings"),
            json_document::Json::parse(R"([{
              "path": "/etc/apt/apt.conf.d/50unattended-upgrades",
              "setting": "Unattended-Upgrade::Package-Blacklist",
              "message": "Unattended-Upgrade::Package-Blacklist \"nginx\" goes out of force"}])"));
}

TEST_F(PlanTest, ListsNoSettingsOfAFileThatACycleHasInstalled) {
  host_.set_up();
  host_.services.filesystem->create_directories("/etc/apt/apt.conf.d/.zant-backups");
  host_.write("/etc/apt/apt.conf.d/75lowerspeed", "Acquire::http::Dl-Limit \"9\";\n");

  EXPECT_TRUE(plan().displaced_settings.empty());
}

TEST_F(PlanTest, OfACycleWithoutThePackageFailsBeforeAnything) {
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 1);

  const auto report = plan();

  EXPECT_EQ(report.outcome(), Plan::Outcome::FAILS);
  EXPECT_THAT(paths(report), IsEmpty());
  EXPECT_THAT(
      to_text(report),
      HasSubstr("zant-velmora: is not installed, and the repository's source list needs its architecture; "
                "install the package first, from the file that the vendor ships\n"));
}

}  // namespace
}  // namespace zant::velmora_host
