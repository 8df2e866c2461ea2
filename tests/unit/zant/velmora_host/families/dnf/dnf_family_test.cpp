#include <zant/velmora_host/families/dnf/dnf_family.hpp>

#include <support/fake_filesystem.hpp>
#include <support/host_side/el_host.hpp>

#include <support/host_side/keyring_examples.hpp>

#include <Poco/Base64Encoder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using test_support::El_Host;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* IS_LISTED = "dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora";
constexpr const char* IMPORT_KEY = "rpm --import https://repo.velmora.test/key";
constexpr const char* DISABLE_OTHERS =
    "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
    "dnf-automatic-notifyonly.timer";

class DnfFamily : public ::testing::Test {
 protected:
  std::string failure(const std::string& line, int exit_code = 1) {
    const auto failure = family_.failure_of({line, exit_code}, Occasion::CYCLE, host_.services);
    return failure ? std::string(to_string(failure->step)) + ": " + failure->message : "";
  }

  Hold_State hold_state(int exit_code) { return family_.hold_state_of({"", exit_code}, host_.services); }

  const DNF_Family family_;
  El_Host host_;
};

TEST_F(DnfFamily, KnowsWhatTheCommandLinesDo) {
  const auto kind = [this](const char* line) { return family_.traits_of(line).kind; };

  for (const char* query : {"which dnf &> /dev/null", IS_LISTED, "which dnf-automatic &> /dev/null",
                            "systemctl status dnf-automatic-install.timer",
                            "systemctl show dnf-automatic-install.timer | grep -q NeedDaemonReload=yes"}) {
    EXPECT_EQ(kind(query), Command_Kind::QUERY) << query;
  }
  EXPECT_EQ(kind(IMPORT_KEY), Command_Kind::IMPORTS_KEY);
  EXPECT_EQ(kind(El_Host::EXCLUDE_PACKAGES), Command_Kind::HOLDS_PACKAGE);
  EXPECT_EQ(kind(El_Host::INCLUDE_PACKAGES), Command_Kind::RELEASES_HOLD);
  EXPECT_EQ(kind("dnf -yq install dnf-automatic"), Command_Kind::INSTALLS_PACKAGES);
  EXPECT_EQ(kind(DISABLE_OTHERS), Command_Kind::DISABLES_TIMERS);
  EXPECT_EQ(kind("systemctl start dnf-automatic-install.timer"), Command_Kind::STARTS_TIMER);
  EXPECT_EQ(kind("systemctl daemon-reload && systemctl restart dnf-automatic-install.timer"),
            Command_Kind::RELOADS_TIMER);
  EXPECT_EQ(kind("apt-get -qq update"), Command_Kind::UNKNOWN);
}

TEST_F(DnfFamily, KnowsWhenACommandLineThatIsRepeatedInEveryCycleChangesNothing) {
  EXPECT_EQ(family_.traits_of(IMPORT_KEY).noop_check, "rpm --quiet --query gpg-pubkey");
  EXPECT_EQ(family_.traits_of("systemctl start dnf-automatic-install.timer").noop_check,
            "test ! -d /run/systemd/system || systemctl is-active --quiet dnf-automatic-install.timer");
  EXPECT_EQ(family_.traits_of(DISABLE_OTHERS).noop_check,
            "! systemctl is-enabled --quiet dnf-automatic.timer dnf-automatic-download.timer "
            "dnf-automatic-notifyonly.timer 2> /dev/null && "
            "! systemctl is-active --quiet dnf-automatic.timer dnf-automatic-download.timer "
            "dnf-automatic-notifyonly.timer");
  EXPECT_EQ(family_.traits_of("dnf -yq install dnf-automatic").noop_check, "");
}

TEST_F(DnfFamily, KeepsWhatRpmFetchesInADirectoryAndSmall) {
  EXPECT_EQ(family_.contained_form_of(IMPORT_KEY, "/tmp/private"),
            "rpm --import https://repo.velmora.test/key --define '_tmppath /tmp/private' "
            "--define \"_urlhelper prlimit --fsize=4194304 $(rpm --eval '%{?_urlhelper}')\"");
  EXPECT_EQ(family_.contained_form_of("rpm --import file:///usr/share/key.asc", "/tmp/private"),
            std::nullopt);
  EXPECT_EQ(family_.contained_form_of(IS_LISTED, "/tmp/private"), std::nullopt);
}

TEST_F(DnfFamily, TakesForAFailureWhatTheLibraryGoesOnAfter) {
  EXPECT_EQ(failure(IMPORT_KEY, 124),
            "repository: The repository's key could not be imported: \"rpm --import "
            "https://repo.velmora.test/key\" failed with exit code 124");
  EXPECT_EQ(failure(IMPORT_KEY, 63),
            "repository: The repository's key could not be imported: what \"rpm --import "
            "https://repo.velmora.test/key\" fetched is larger than 4 MiB, which no key is");
  EXPECT_EQ(failure(El_Host::INCLUDE_PACKAGES, 127),
            "hold: zant-velmora is still held: the repository's option could not be set, exit code 127");
  EXPECT_EQ(failure("systemctl start dnf-automatic-install.timer"),
            "automatic_upgrades: dnf-automatic-install.timer could not be started");
  EXPECT_EQ(failure("systemctl daemon-reload && systemctl restart dnf-automatic-install.timer"),
            "automatic_upgrades: dnf-automatic-install.timer could not be reloaded");
  EXPECT_EQ(failure(IMPORT_KEY, 0), "");
}

TEST_F(DnfFamily, TakesOtherTimersForDisabledWhenTheyAreWhateverTheCommandSays) {
  EXPECT_EQ(failure(DISABLE_OTHERS), "") << "it fails where the host has none of them";

  host_.system->on(family_.traits_of(DISABLE_OTHERS).noop_check, 1);
  EXPECT_EQ(failure(DISABLE_OTHERS),
            "automatic_upgrades: dnf-automatic's other timers could not be disabled");
}

TEST_F(DnfFamily, TakesARepositoryOfWhichNothingIsListedForAFailureUnlessItIsHeld) {
  host_.set_up();

  EXPECT_EQ(failure(IS_LISTED),
            "repository: DNF lists no zant-velmora in the repository quorvane: the repository cannot be "
            "reached or read, or DNF's own configuration excludes the package");
  EXPECT_EQ(hold_state(1), Hold_State::UNKNOWN);
  EXPECT_EQ(hold_state(0), Hold_State::NOT_HELD);

  host_.write("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nexclude=*\n");
  EXPECT_EQ(failure(IS_LISTED), "");
  EXPECT_EQ(hold_state(1), Hold_State::HELD);
}

TEST_F(DnfFamily, AnswersForARepositoryThatIsPlanned) {
  velmora::test_support::Fake_Filesystem planned;
  const auto answer = [&] {
    return family_.planned_exit_code_of(IS_LISTED, planned, *host_.services.filesystem);
  };
  EXPECT_FALSE(answer()) << "neither is there";

  planned.add_file("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nbaseurl=https://repo.test/\n");
  EXPECT_EQ(answer(), 0);
  planned.add_file("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nexclude=*\n");
  EXPECT_EQ(answer(), 1);
  EXPECT_FALSE(family_.planned_exit_code_of("which dnf &> /dev/null", planned, *host_.services.filesystem));

  host_.write("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nexclude=*\n");
  EXPECT_FALSE(answer()) << "the host's own answer holds";
}

TEST_F(DnfFamily, KnowsWhatItsFilesAreFor) {
  EXPECT_EQ(family_.kind_of("/etc/yum.repos.d/quorvane.repo"), File_Kind::REPOSITORY_FILE);
  EXPECT_EQ(family_.kind_of("/etc/systemd/system/dnf-automatic-install.timer.d/"
                            "dnf-automatic-install.timer.on-calendar.conf"),
            File_Kind::TIMER);
  EXPECT_EQ(family_.kind_of("/etc/yum.repos.d/other.repo"), File_Kind::OTHER);
  EXPECT_THAT(family_.installed_paths().repository, ElementsAre("/etc/yum.repos.d/quorvane.repo"));
  EXPECT_EQ(family_.installed_paths().upgrades.size(), 2U);
}

TEST_F(DnfFamily, AsksRpmAndDnfForTheVersions) {
  host_.answer_status();

  const auto versions = family_.find_versions(host_.services, host_.settings());

  EXPECT_EQ(versions.installed, "1.0-1");
  EXPECT_EQ(versions.offered, "1.1-1");
}

std::string armoured(const std::string& keyring) {
  std::ostringstream text;
  text << "-----BEGIN PGP PUBLIC KEY BLOCK-----\nVersion: rpm-4.16.1.3 (NSS-3)\n\n";
  Poco::Base64Encoder encoder(text);
  encoder << keyring;
  encoder.close();
  text << "\n=abcd\n-----END PGP PUBLIC KEY BLOCK-----\n";
  return text.str();
}

TEST_F(DnfFamily, ReadsTheKeysThatRpmKeeps) {
  constexpr const char* QUERY = "rpm --query --queryformat '%{DESCRIPTION}\\n' gpg-pubkey";
  host_.system->on(QUERY, 0,
                   armoured(test_support::GOOD_KEYRING) + armoured("nothing that anybody understands") +
                       armoured(test_support::EXPIRED_PRIMARY));

  const auto keys = family_.read_installed_keys(host_.services).value();

  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[0].fingerprint, "4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198");
  EXPECT_FALSE(keys[0].expiry);
  EXPECT_TRUE(keys[1].expiry);

  host_.system->on(QUERY, 1, "package gpg-pubkey is not installed\n");
  EXPECT_FALSE(family_.read_installed_keys(host_.services));
}

TEST_F(DnfFamily, AsksRpmForTheKeysItTrusts) {
  host_.trust(
      "gpg-pubkey-22222222-5f5e1000 B\x1b[2J public key\ngpg-pubkey-11111111-5f5e1000 A public key\n");
  EXPECT_THAT(family_.trusted_keys(host_.services).value(),
              ElementsAre("gpg-pubkey-11111111-5f5e1000 A public key",
                          "gpg-pubkey-22222222-5f5e1000 B\\x1b[2J public key"));

  host_.trust("");
  EXPECT_THAT(family_.trusted_keys(host_.services).value(), IsEmpty());

  host_.system->on(El_Host::LIST_KEYS, 1, "error: cannot open Packages database\n");
  EXPECT_FALSE(family_.trusted_keys(host_.services));
}

class KeyAddress : public DnfFamily {
 protected:
  Check_Report check(const std::string& address) {
    host_.pass_checks();
    host_.set("package.dnf.repo.gpg_key", address);
    Check_Report report;
    family_.check(host_.settings(), host_.services, velmora::Init::systemd, report);
    return report;
  }
};

TEST_F(KeyAddress, WithoutProtectionOnTheWayIsFound) {
  for (const char* address : {"http://repo.velmora.test/key", "ftp://repo.velmora.test/key"}) {
    const auto report = check(address);

    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings[0].code, "repository.key_address_unprotected");
    EXPECT_EQ(report.findings[0].where, "package.dnf.repo.gpg_key");
    EXPECT_EQ(
        report.findings[0].what,
        std::string("is \"") + address +
            "\", which anybody on the network path can answer: every cycle imports what is served, and this "
            "host trusts it from then on");
    EXPECT_THAT(report.unchecked, IsEmpty());
  }
}

TEST_F(KeyAddress, ThatIsRemoteIsNamedWithWhatItMeans) {
  const auto report = check("https://repo.velmora.test/key");

  EXPECT_THAT(report.findings, IsEmpty());
  ASSERT_EQ(report.unchecked.size(), 1U);
  EXPECT_EQ(report.unchecked[0].code, "key_address");
  EXPECT_EQ(report.unchecked[0].what, "which keys https://repo.velmora.test/key yields");
  EXPECT_EQ(
      report.unchecked[0].reason,
      "every cycle fetches and imports what is there: whoever controls that address decides which keys this "
      "host trusts, whereas a key file of this host (file:///...) stays what it is");
}

TEST_F(KeyAddress, OfAFileOfTheHostPassesWhenTheFileIsThere) {
  auto report = check("file:///usr/share/key.asc");
  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].code, "repository.key_missing");

  host_.write("/usr/share/key.asc", "the key");
  report = check("file:///usr/share/key.asc");
  EXPECT_THAT(report.findings, IsEmpty());
  EXPECT_THAT(report.unchecked, IsEmpty());
}

TEST_F(DnfFamily, FindsADnfThatCannotReleaseHolds) {
  host_.pass_checks();
  host_.system->on("dnf config-manager --help &> /dev/null || command -v yum-config-manager > /dev/null", 1);
  Check_Report report;
  family_.check(host_.settings(), host_.services, velmora::Init::systemd, report);
  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].code, "tools.missing");
  EXPECT_EQ(report.findings[0].where, "dnf config-manager");

  host_.system->on("dnf --version 2> /dev/null | head -n 1 | grep -q dnf5", 0);
  report = {};
  family_.check(host_.settings(), host_.services, velmora::Init::systemd, report);
  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].code, "host.dnf5");
}

TEST_F(DnfFamily, TakesNoTimeThatTheClockCannotHoldForARefresh) {
  host_.set_up();
  host_.answer_about_upgrades(1, "", "99999999999999\n");

  for (const auto& finding :
       DNF_Family().find_weaknesses(host_.settings(), host_.services, velmora::Init::systemd)) {
    EXPECT_NE(finding.code, "repository.not_refreshed");
  }
}

TEST_F(DnfFamily, FindsOtherFilesOfTheRepository) {
  host_.pass_checks();
  host_.write("/etc/yum.repos.d/other.repo",
              "[other]\nbaseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n");
  Check_Report report;

  family_.check(host_.settings(), host_.services, velmora::Init::systemd, report);

  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].code, "repository.listed_twice");
}

}  // namespace
}  // namespace zant::velmora_host
