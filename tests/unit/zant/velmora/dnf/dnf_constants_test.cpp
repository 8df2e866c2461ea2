#include <zant/velmora/dnf/dnf_constants.hpp>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

using namespace zant::velmora;

namespace {

TEST(DnfConstants, NameTheRepository) {
  EXPECT_STREQ(DNF_Constants::DNF_REPO_ID, "quorvane");
  EXPECT_STREQ(DNF_Constants::DNF_REPO_NAME, "Velmora Recorder");
  EXPECT_EQ(DNF_Constants::DNF_REPO_FILE, "quorvane.repo");
  EXPECT_EQ(DNF_Constants::REPO_FILE_PATH, "/etc/yum.repos.d/quorvane.repo");
}

TEST(DnfConstants, PointToTheDefaultRepositoryOverHttps) {
  EXPECT_STREQ(DNF_Constants::DEFAULT_DNF_REPO_ROOT_URL, "https://repo.velmora.example/velmora-yum-repo");
  EXPECT_EQ(DNF_Constants::DEFAULT_REPO_URL, "https://repo.velmora.example/velmora-yum-repo/repos");
  EXPECT_EQ(DNF_Constants::DEFAULT_GPG_KEY_URL,
            "https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg");
  EXPECT_STREQ(DNF_Constants::DEFAULT_CHANNEL, "systemd-production");
  EXPECT_STREQ(DNF_Constants::DEFAULT_THROTTLE, "500k");
}

TEST(DnfConstants, NameTheTimerAndItsDropIns) {
  EXPECT_STREQ(DNF_Constants::DNF_AUTOMATIC_TIMER, "dnf-automatic-install.timer");
  EXPECT_EQ(DNF_Constants::TIMER_OVERRIDE_DIR, "/etc/systemd/system/dnf-automatic-install.timer.d");
  EXPECT_EQ(DNF_Constants::TIMER_ON_CALENDAR_FILE, "dnf-automatic-install.timer.on-calendar.conf");
  EXPECT_EQ(DNF_Constants::TIMER_RANDOMIZED_DELAY_FILE, "dnf-automatic-install.timer.randomized-delay.conf");
}

TEST(DnfConstants, AskForTheRelease) {
  EXPECT_STREQ(DNF_Constants::CHECK_RHEL8_OR_GREATER,
               "[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]]");
}

TEST(DnfConstants, AskForThePackagesOfTheRepository) {
  EXPECT_EQ(DNF_Constants::LOCK_QUERY, "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora");
}

TEST(DnfConstants, ExcludeAndIncludeWithTheToolOfTheRelease) {
  EXPECT_EQ(DNF_Constants::EXCLUDE_PACKAGES,
            "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
            "dnf config-manager --setopt=quorvane.exclude=* --save || "
            "yum-config-manager --setopt=quorvane.exclude=* --save'");
  EXPECT_EQ(DNF_Constants::INCLUDE_PACKAGES,
            "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
            "dnf config-manager --setopt=quorvane.exclude= --save || "
            "yum-config-manager --setopt=quorvane.exclude= --save'");
}

TEST(DnfConstants, ExcludeAndIncludeDifferOnlyInTheAsterisk) {
  std::string without_asterisk = DNF_Constants::EXCLUDE_PACKAGES;
  std::erase(without_asterisk, '*');

  EXPECT_EQ(without_asterisk, DNF_Constants::INCLUDE_PACKAGES);
  EXPECT_EQ(DNF_Constants::EXCLUDE_PACKAGES.size(), DNF_Constants::INCLUDE_PACKAGES.size() + 2);
}

TEST(DnfConstants, HoldTheOtherCommandLines) {
  EXPECT_STREQ(DNF_Constants::DNF_PRESENCE, "which dnf &> /dev/null");
  EXPECT_STREQ(DNF_Constants::DNF_AUTOMATIC_PRESENCE, "which dnf-automatic &> /dev/null");
  EXPECT_STREQ(DNF_Constants::INSTALL_DNF_AUTOMATIC, "dnf -yq install dnf-automatic");
  EXPECT_STREQ(DNF_Constants::IMPORT_KEY_FORMAT, "rpm --import {}");
  EXPECT_STREQ(DNF_Constants::DISABLE_CONFLICTING_TIMERS,
               "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
               "dnf-automatic-notifyonly.timer");
  EXPECT_EQ(DNF_Constants::START_TIMER, "systemctl start dnf-automatic-install.timer");
  EXPECT_EQ(DNF_Constants::TIMER_STATUS, "systemctl status dnf-automatic-install.timer");
  EXPECT_EQ(DNF_Constants::TIMER_NEEDS_RELOAD,
            "systemctl show dnf-automatic-install.timer | grep -q NeedDaemonReload=yes");
  EXPECT_EQ(DNF_Constants::RELOAD_TIMER,
            "systemctl daemon-reload && systemctl restart dnf-automatic-install.timer");
}

// --- Which tool a release gets ----------------------------------------------------------------------------

// A host of a release, with stand-ins for both tools that only tell how they were called.
constexpr const char* SCRIPT_FORMAT = R"(bash << 'END' > {calls}
grep() {{ [[ "$*" == "VERSION_ID /etc/os-release" ]] && echo 'VERSION_ID={release}'; }}
dnf() {{ echo "dnf $*"; return {dnf_status}; }}
yum-config-manager() {{ echo "yum-config-manager $*"; }}
export -f grep dnf yum-config-manager
{command}
END)";

// Runs the command on such a host; returns the calls, a line each.
std::string calls_of_tools(const std::string& release, const std::string& command, int dnf_status = 0) {
  const auto calls = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
  const std::string script =
      fmt::format(SCRIPT_FORMAT, fmt::arg("calls", calls.string()), fmt::arg("release", release),
                  fmt::arg("dnf_status", dnf_status), fmt::arg("command", command));
  EXPECT_EQ(std::system(script.c_str()), 0);
  std::ifstream stream(calls.string());
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  stream.close();
  boost::filesystem::remove(calls);
  return text;
}

class DnfToolOfTheRelease : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("bash -c true") != 0) {
      GTEST_SKIP() << "the commands are for bash, which this machine has not";
    }
  }
};

TEST_F(DnfToolOfTheRelease, IsYumConfigManagerBeforeRelease8) {
  for (const std::string release : {"\"7.9\"", "\"7\"", "7.10", "6.8"}) {
    EXPECT_EQ(calls_of_tools(release, DNF_Constants::EXCLUDE_PACKAGES),
              "yum-config-manager --setopt=quorvane.exclude=* --save\n")
        << release;
    EXPECT_EQ(calls_of_tools(release, DNF_Constants::INCLUDE_PACKAGES),
              "yum-config-manager --setopt=quorvane.exclude= --save\n")
        << release;
  }
}

TEST_F(DnfToolOfTheRelease, IsDnfFromRelease8On) {
  for (const std::string release : {"\"8\"", "\"8.1\"", "\"9.4\"", "9", "\"10.0\""}) {
    EXPECT_EQ(calls_of_tools(release, DNF_Constants::EXCLUDE_PACKAGES),
              "dnf config-manager --setopt=quorvane.exclude=* --save\n")
        << release;
    EXPECT_EQ(calls_of_tools(release, DNF_Constants::INCLUDE_PACKAGES),
              "dnf config-manager --setopt=quorvane.exclude= --save\n")
        << release;
  }
}

TEST_F(DnfToolOfTheRelease, IsYumConfigManagerWhereDnfFails) {
  EXPECT_EQ(calls_of_tools("\"9.4\"", DNF_Constants::EXCLUDE_PACKAGES, 1),
            "dnf config-manager --setopt=quorvane.exclude=* --save\n"
            "yum-config-manager --setopt=quorvane.exclude=* --save\n");
}

}  // namespace
