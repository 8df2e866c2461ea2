#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>

#include <support/fake_system.hpp>
#include <support/host_side/fake_host_filesystem.hpp>
#include <support/host_side/keyring_examples.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* URL = "https://repo.velmora.test/apt/";

std::vector<std::string> texts(const Findings& findings) {
  std::vector<std::string> lines;
  for (const auto& finding : findings) {
    lines.push_back(finding.code + " " + to_string(finding));
  }
  return lines;
}

TEST(WeakListOptions, AreNamed) {
  EXPECT_THAT(
      texts(find_weak_list_options("/l", "deb [arch=amd64 Trusted=yes] https://x/ s main\n")),
      ElementsAre("repository.unsigned_accepted /l: has the option Trusted=yes: packages are installed "
                  "without a valid signature; remove the option; the next cycle writes the file again"));
  EXPECT_THAT(texts(find_weak_list_options("/l", " deb [allow-insecure=1 allow-weak=true] https://x/ s m\n")),
              ElementsAre("repository.unsigned_accepted /l: has the option allow-insecure=1: packages are "
                          "installed without a valid signature; remove the option; the next cycle writes the "
                          "file again",
                          "repository.weak_signature_accepted /l: has the option allow-weak=true: signatures "
                          "with outdated algorithms are accepted; remove the option; the next cycle writes "
                          "the file again"));
}

TEST(WeakListOptions, AreNoneWhereNothingIsWeakened) {
  EXPECT_THAT(find_weak_list_options("/l",
                                     "deb [arch=amd64] https://x/ s main\n"
                                     "# deb [trusted=yes] https://x/ s main\n"
                                     "deb [trusted=no] https://x/ s main\ndeb ] [ x\ndeb\n"),
              IsEmpty());
}

TEST(WeakAptConfiguration, IsNamed) {
  EXPECT_THAT(
      texts(find_weak_apt_configuration("APT::Get::AllowUnauthenticated \"true\";\n"
                                        "Acquire::AllowInsecureRepositories \"1\";\n"
                                        "Acquire::AllowWeakRepositories \"yes\";\n"
                                        "Acquire::https::Verify-Peer \"false\";\n"
                                        "Acquire::https::repo.velmora.test::Verify-Host \"no\";\n",
                                        URL)),
      ElementsAre("repository.unsigned_accepted APT's configuration: APT::Get::AllowUnauthenticated is "
                  "\"true\": apt-get installs packages without a valid signature; remove it from "
                  "/etc/apt/apt.conf and the files in /etc/apt/apt.conf.d",
                  "repository.unsigned_accepted APT's configuration: "
                  "Acquire::AllowInsecureRepositories is \"1\": repositories without a valid signature "
                  "are accepted; remove it from /etc/apt/apt.conf and the files in "
                  "/etc/apt/apt.conf.d",
                  "repository.weak_signature_accepted APT's configuration: "
                  "Acquire::AllowWeakRepositories is \"yes\": signatures with outdated algorithms are "
                  "accepted; remove it from /etc/apt/apt.conf and the files in /etc/apt/apt.conf.d",
                  "repository.server_not_verified APT's configuration: Acquire::https::Verify-Peer is "
                  "\"false\": anybody on the network can pose as the server; remove it from "
                  "/etc/apt/apt.conf and the files in /etc/apt/apt.conf.d",
                  "repository.server_not_verified APT's configuration: "
                  "Acquire::https::repo.velmora.test::Verify-Host is \"no\": anybody on the network can "
                  "pose as the server; remove it from /etc/apt/apt.conf and the files in "
                  "/etc/apt/apt.conf.d"));
}

TEST(WeakAptConfiguration, IsNoneOfWhatIsStrictOrAboutOthers) {
  EXPECT_THAT(find_weak_apt_configuration("Acquire::AllowInsecureRepositories \"0\";\n"
                                          "Acquire::https::Verify-Peer \"true\";\n"
                                          "Acquire::https::other.test::Verify-Peer \"false\";\n",
                                          URL),
              IsEmpty());
}

// By a key that is not in the keyring below.
const std::string SIGNATURE =
    "iH8EARYIACcWIQSSHSXycElh/5M4bWl9pGngZCHx0AUCawJg0AkcYkB4LnRlc3QA\n"
    "CgkQfaRp4GQh8dCnvgEAjDkAAj45LD33JH1ofKBN0NNCyous/DTyf+UKKPkHSvEB\n"
    "AL4uNAYG/+vBSBYTX6fFm6aQkKHyUN6qqJkoIh5HOX8O\n"
    "=dBd8";

class AptRefresh : public ::testing::Test {
 protected:
  AptRefresh() {
    system_->on("apt-get --print-uris update 2> /dev/null", 0,
                "'http://deb.test/dists/s/InRelease' deb.test_dists_s_InRelease 0 \n"
                "'https://repo.velmora.test/apt/dists/stable/InRelease' "
                "repo.velmora.test_apt_dists_stable_InRelease 0 \n");
    answer_time("1800000000\n");
    files_->fake().add_file("/keyring", test_support::GOOD_KEYRING);
  }

  void answer_time(const std::string& time) {
    system_->on(
        "stat --format=%Z '/var/lib/apt/lists/repo.velmora.test_apt_dists_stable_InRelease' 2> /dev/null",
        time.empty() ? 1 : 0, time);
  }

  void refuse(const std::string& index) {
    files_->fake().add_file("/var/lib/apt/lists/partial/repo.velmora.test_apt_dists_stable_InRelease", index);
  }

  std::vector<std::string> faults(long long seconds_later) {
    return texts(find_apt_refresh_faults({system_, files_}, URL, "stable", "/keyring",
                                         system_clock::from_time_t(1800000000 + seconds_later)));
  }

  std::shared_ptr<velmora::test_support::Fake_System> system_ =
      std::make_shared<velmora::test_support::Fake_System>();
  std::shared_ptr<test_support::Fake_Host_Filesystem> files_ =
      std::make_shared<test_support::Fake_Host_Filesystem>();
};

TEST_F(AptRefresh, OfTheLastThreeDaysIsInOrder) {
  EXPECT_THAT(faults(3 * 86400), IsEmpty());
}

TEST_F(AptRefresh, ThatIsOlderIsNamedWithItsTime) {
  EXPECT_THAT(
      faults(3 * 86400 + 1),
      ElementsAre("repository.not_refreshed "
                  "/var/lib/apt/lists/repo.velmora.test_apt_dists_stable_InRelease: the repository was "
                  "last refreshed 2027-01-15T08:00:00Z, more than 3 days ago: newer versions do not "
                  "arrive; run \"apt-get update\" and see what it says; apt-daily.timer must be "
                  "enabled"));
}

TEST_F(AptRefresh, ThatNeverWasSaysNothing) {
  answer_time("");
  EXPECT_THAT(faults(0), IsEmpty());
  answer_time("nonsense");
  EXPECT_THAT(faults(0), IsEmpty());
}

TEST_F(AptRefresh, ThatAptRefusedIsNamedWithTheKey) {
  refuse("-----BEGIN PGP SIGNED MESSAGE-----\n\nOrigin: x\n-----BEGIN PGP SIGNATURE-----\n\n" + SIGNATURE +
         "\n-----END PGP SIGNATURE-----\n");

  EXPECT_THAT(faults(0),
              ElementsAre("repository.signature_refused "
                          "/var/lib/apt/lists/partial/repo.velmora.test_apt_dists_stable_InRelease: "
                          "APT did not accept the repository's index when it last asked for it, and "
                          "goes on with the old one: it names the key "
                          "921D25F2704961FF93386D697DA469E06421F1D0, which the keyring does "
                          "not have; ask the vendor which key signs the repository; \"apt-get "
                          "update\" shows APT's own words"));
}

TEST_F(AptRefresh, ThatWasCutShortIsNoRefusal) {
  refuse("-----BEGIN PGP SIGNED MESSAGE-----\n\nOrigin: x\n");

  EXPECT_THAT(faults(0), IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
