#include <zant/velmora_host/families/dnf/included_packages.hpp>

#include <zant/velmora_host/minding/cycle_runner.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* REPO_FILE = "/etc/yum.repos.d/quorvane.repo";

constexpr const char* LIMITED =
    "[quorvane]\n"
    "# The setting minder.repository_packages of package-minder:\n"
    "includepkgs=zant-velmora* velmora-codec\n"
    "name=Velmora Recorder\n"
    "baseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n"
    "gpgkey=https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\n"
    "throttle=500k\n";

class IncludedPackages : public ::testing::Test {
 protected:
  IncludedPackages() { host_.allow_changes(); }

  void limit() { host_.set("minder.repository_packages", " zant-velmora*  velmora-codec "); }

  Cycle_Record run_cycle() {
    const Settings settings = host_.settings();
    return Cycle_Runner("once", settings, host_.services).cycles().run_cycle().last_cycle;
  }

  std::vector<std::string> outcomes(const Cycle_Record& record) {
    std::vector<std::string> texts;
    for (const auto& file : record.files) {
      texts.push_back(std::string(to_string(file.outcome)) + " " + file.path);
    }
    return texts;
  }

  test_support::El_Host host_;
};

TEST_F(IncludedPackages, AreNotNamedWithoutTheSetting) {
  run_cycle();
  const std::string text = host_.read(REPO_FILE);

  EXPECT_EQ(text.find("includepkgs"), std::string::npos);
  EXPECT_THAT(run_cycle().actions, IsEmpty());
}

TEST_F(IncludedPackages, StandInTheFileThatIsInstalled) {
  limit();

  EXPECT_THAT(outcomes(run_cycle()), ElementsAre("installed /etc/yum.repos.d/quorvane.repo"));

  EXPECT_EQ(host_.read(REPO_FILE), LIMITED);
  EXPECT_THAT(outcomes(run_cycle()), IsEmpty());
}

TEST_F(IncludedPackages, AreNotAllThatKeepsAFileInStep) {
  run_cycle();
  const std::string whole = host_.read(REPO_FILE);

  host_.write(REPO_FILE, whole + "nonsense\n");
  const auto record = run_cycle();

  EXPECT_THAT(outcomes(record), ElementsAre("repaired /etc/yum.repos.d/quorvane.repo"));
  EXPECT_THAT(record.actions, Contains("Replacing /etc/yum.repos.d/quorvane.repo, which DNF cannot read"));
  EXPECT_EQ(host_.read(REPO_FILE), whole);
}

TEST_F(IncludedPackages, LeaveLinesToTheAdministratorThatDnfUnderstands) {
  run_cycle();
  const std::string text = host_.read(REPO_FILE) + "\n# nonsense\n; nonsense\nproxy: none\n two\n\tthree\n";

  host_.write(REPO_FILE, text);

  EXPECT_THAT(outcomes(run_cycle()), IsEmpty());
  EXPECT_EQ(host_.read(REPO_FILE), text);
}

TEST_F(IncludedPackages, AreAddedToAnInstalledFileBeforeAnythingElseIsDone) {
  run_cycle();
  limit();
  std::string text;
  host_.system->during("rpm --import https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg",
                       [&] { text = host_.read(REPO_FILE); });

  const auto record = run_cycle();

  EXPECT_EQ(text, LIMITED);
  EXPECT_THAT(outcomes(record), ElementsAre("updated /etc/yum.repos.d/quorvane.repo"));
  EXPECT_THAT(record.actions, Contains("Limiting what DNF installs from the repository to these packages: "
                                       "zant-velmora* velmora-codec"));
}

TEST_F(IncludedPackages, AreRepairedWhenSomebodyChangesThem) {
  limit();
  run_cycle();
  const std::string limited = LIMITED;
  const std::string option = "includepkgs=zant-velmora* velmora-codec\n";
  const auto with = [&](const std::string& other) {
    std::string text = limited;
    return text.replace(text.find(option), option.size(), other);
  };

  for (const std::string& other :
       {std::string(), std::string("includepkgs=*\n"), std::string("includepkgs=zant-velmora*\n"),
        option + "includepkgs=*\n", option + " bash\n", "#" + option}) {
    host_.write(REPO_FILE, with(other));
    EXPECT_THAT(outcomes(run_cycle()), ElementsAre("repaired /etc/yum.repos.d/quorvane.repo")) << other;
    EXPECT_EQ(host_.read(REPO_FILE), LIMITED);
  }
}

TEST_F(IncludedPackages, AreLeftAsTheConfigurationManagerWritesThem) {
  limit();
  run_cycle();

  for (const char* options : {"exclude=*\n", "exclude=\n"}) {
    host_.write(REPO_FILE, std::string(LIMITED) + options);
    EXPECT_THAT(outcomes(run_cycle()), IsEmpty());
  }
  host_.write(REPO_FILE,
              "[quorvane]\nincludepkgs = zant-velmora*, velmora-codec\n"
              "baseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n"
              "gpgkey=https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\n"
              "throttle=500k\n");
  EXPECT_THAT(outcomes(run_cycle()), IsEmpty()) << "the same patterns";
}

TEST_F(IncludedPackages, AreForEverybodyToRead) {
  run_cycle();
  const std::string text = host_.read(REPO_FILE);
  boost::filesystem::permissions(host_.on_disk(REPO_FILE), boost::filesystem::owner_write);

  const auto record = run_cycle();

  EXPECT_THAT(record.actions, Contains("Giving everybody access to /etc/yum.repos.d/quorvane.repo again"));
  EXPECT_EQ(host_.read(REPO_FILE), text);
  EXPECT_THAT(run_cycle().actions, IsEmpty());
}

TEST_F(IncludedPackages, GoWhenTheSettingIsTakenAway) {
  limit();
  run_cycle();
  host_.set("minder.repository_packages", "");

  const auto record = run_cycle();

  EXPECT_THAT(outcomes(record), ElementsAre("updated /etc/yum.repos.d/quorvane.repo"));
  EXPECT_THAT(record.actions, Contains("Removing the limit on what DNF installs from the repository"));
  EXPECT_EQ(host_.read(REPO_FILE).find("includepkgs"), std::string::npos);
}

TEST_F(IncludedPackages, OfAnAdministratorsOwnStayWithoutTheSetting) {
  run_cycle();
  const std::string own = host_.read(REPO_FILE) + "includepkgs=zant-velmora\n";
  host_.write(REPO_FILE, own);

  run_cycle();

  EXPECT_EQ(host_.read(REPO_FILE), own);
}

TEST_F(IncludedPackages, OfTheTemplateGiveWayToTheSetting) {
  limit();
  const auto file = (host_.installed_tree() / "config-files/dnf/templates/quorvane.repo.template").string();
  std::ofstream(file, std::ios::app) << "includepkgs=bash\n zsh\nenabled=1\n";

  run_cycle();

  EXPECT_EQ(host_.read(REPO_FILE), std::string(LIMITED) + "enabled=1\n");
}

// Lines that begin with a blank continue the value before them, comments or not.
TEST_F(IncludedPackages, AreNotWidenedByTheLinesAfterThem) {
  const std::string file = "/staging/config-files/dnf/templates/quorvane.repo.template";
  const std::string option =
      "# The setting minder.repository_packages of package-minder:\nincludepkgs=zant-velmora\n";
  const auto prepared = [&](const std::string& text) {
    host_.write(file, text);
    Included_Packages(host_.services.filesystem, {"zant-velmora"}, "/staging").prepare_templates();
    return host_.read(file);
  };

  EXPECT_EQ(prepared("[{0}]\n  name={1}\n"), "[{0}]\n" + option + "name={1}\n");
  EXPECT_EQ(prepared("[{0}]\nincludepkgs=bash\n# more\n zsh\nname={1}\n"),
            "[{0}]\n" + option + "# more\nname={1}\n");
  EXPECT_EQ(prepared("[{0}]\nword\n bash\n zsh\nname={1}\n"),
            "[{0}]\n" + option + "word\nbash\nzsh\nname={1}\n");
  EXPECT_EQ(prepared("[{0}\n bash\n"), "[{0}\n bash\n") << "no head";
}

TEST_F(IncludedPackages, StandOnceInATemplateThatIsPreparedAgain) {
  const std::string file = "/staging/config-files/dnf/templates/quorvane.repo.template";
  host_.write(file, "[{0}]\nname={1}\n");
  Included_Packages first(host_.services.filesystem, {"zant-velmora"}, "/staging");
  Included_Packages second(host_.services.filesystem, {"zant-velmora*"}, "/staging");

  first.prepare_templates();
  second.prepare_templates();

  EXPECT_EQ(host_.read(file),
            "[{0}]\n# The setting minder.repository_packages of package-minder:\nincludepkgs=zant-velmora*\n"
            "name={1}\n");
}

TEST_F(IncludedPackages, ArePlannedAndTheirDriftShown) {
  host_.set_up();
  limit();
  host_.answer_status();

  const Plan plan = make_plan(Plan::Operation::CYCLE, host_.settings(), host_.services);
  const Status status = make_status(host_.settings(), host_.services);

  ASSERT_EQ(plan.files.size(), 1U);
  EXPECT_EQ(plan.files[0].path, REPO_FILE);
  EXPECT_EQ(plan.files[0].after, LIMITED);
  ASSERT_EQ(status.drifted_repository_files.size(), 1U);
  EXPECT_EQ(status.drifted_repository_files[0].drift, Status::Drift::DIFFERS);
}

TEST_F(IncludedPackages, GoWithTheFileInAPurge) {
  limit();
  run_cycle();

  EXPECT_THAT(purge(Purge_Scope::EVERYTHING, host_.settings(), host_.services), IsEmpty());

  EXPECT_FALSE(host_.services.filesystem->exists(REPO_FILE));
}

}  // namespace
}  // namespace zant::velmora_host
