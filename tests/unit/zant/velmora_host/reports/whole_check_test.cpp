#include <zant/velmora_host/reports/check.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/el_host.hpp>
#include <support/host_side/told_outlook.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

template <typename Host>
class Whole_Check : public ::testing::Test {
 protected:
  Whole_Check() { host_.pass_checks(); }

  Check_Report check() { return make_check_report(host_.settings(), host_.services, false, registry_); }

  // "CODE WHERE"; what is in the staging tree without the tree's own path.
  std::vector<std::string> findings() {
    const std::string tree = host_.installed_tree().string();
    std::vector<std::string> texts;
    for (const auto& finding : check().findings) {
      const bool is_in_tree = finding.where.starts_with(tree);
      texts.push_back(finding.code + " " + (is_in_tree ? finding.where.substr(tree.size()) : finding.where));
    }
    return texts;
  }

  std::string text_without_keys() {
    auto report = check();
    report.keys.clear();
    return to_text(report);
  }

  void remove_from_tree(const std::string& name) {
    boost::filesystem::remove_all(host_.installed_tree() / name);
  }

  void write_to_tree(const std::string& name, const std::string& text) {
    host_.services.filesystem->write_file(host_.installed_tree() / name, text, velmora::Write_Flag::REPLACE);
  }

  Host host_;
  const std::shared_ptr<Upgrade_Outlook> outlook_ =
      std::make_shared<Upgrade_Outlook>(test_support::outlook_of("1.0", "1.0"));
  const Family_Registry registry_ = test_support::registry_with_told<APT_Family, DNF_Family>(outlook_);
};

using WholeCheckOfDebian = Whole_Check<test_support::Debian_Host>;
using WholeCheckOfEl = Whole_Check<test_support::El_Host>;

TEST_F(WholeCheckOfDebian, FindsNothingOnAHostThatIsInOrderAndListsTheKeys) {
  EXPECT_EQ(to_text(check()),
            "Trusted key 4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198 (EdDSA 255, created 2026-01-01, never "
            "expires)\n"
            "    Good Key <good@velmora.test>\n"
            "Nothing found that needs to be put right.\n");
}

TEST_F(WholeCheckOfEl, FindsNothingOnAHostThatIsInOrderAndSaysWhatARemoteKeyMeans) {
  EXPECT_EQ(
      to_text(check()),
      "Not checked: which keys https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg yields, "
      "because every cycle fetches and imports what is there: whoever controls that address decides which "
      "keys this host trusts, whereas a key file of this host (file:///...) stays what it is.\n"
      "Nothing found that needs to be put right.\n");
}

TEST_F(WholeCheckOfEl, KnowsTheKeyThatIsShippedForDnf) {
  write_to_tree("keyrings/zant-velmora.asc", "the key");

  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(WholeCheckOfDebian, LooksAtTheStagingTree) {
  remove_from_tree("config-files/apt/templates/75lowerspeed.template");
  write_to_tree("config-files/apt/templates/50unattended-upgrades.template", "{} {}");
  write_to_tree("config-files/apt/extra", "text");

  EXPECT_THAT(findings(),
              ElementsAre("staging.bad_template /config-files/apt/templates/50unattended-upgrades.template",
                          "staging.file_missing /config-files/apt/templates/75lowerspeed.template",
                          "staging.foreign_file /config-files/apt/extra"));
}

TEST_F(WholeCheckOfDebian, LooksForLinksInTheStagingTree) {
  boost::filesystem::create_symlink("/etc", host_.installed_tree() / "config-files/elsewhere");

  EXPECT_THAT(findings(), ElementsAre("staging.not_a_file /config-files/elsewhere"));
}

TEST_F(WholeCheckOfDebian, LooksForTheKeyring) {
  remove_from_tree("keyrings/zant-velmora.gpg");

  EXPECT_THAT(findings(), ElementsAre("keyring.missing /keyrings/zant-velmora.gpg"));
}

TEST_F(WholeCheckOfEl, LooksForNoKeyring) {
  remove_from_tree("keyrings/zant-velmora.gpg");

  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(WholeCheckOfDebian, LooksAtTheKeys) {
  host_.put_keyring(test_support::WEAK_KEYRING);

  EXPECT_THAT(findings(), ElementsAre("keyring.weak_key /keyrings/zant-velmora.gpg"));
}

TEST_F(WholeCheckOfDebian, LooksAtToolsDirectoriesUnitsAndSchedule) {
  host_.set("package.apt.upgrade_timer.on_calendar", "Mon 27:00");
  host_.system->on("command -v apt-cache > /dev/null", 1);
  host_.system->on("test -w /etc/systemd/system", 1);
  host_.system->on("systemctl is-enabled apt-daily.service 2> /dev/null", 1, "masked\n");
  host_.system->on("command -v systemd-analyze > /dev/null", 0);
  host_.system->on("systemd-analyze calendar 'Mon 27:00' &> /dev/null", 1);

  EXPECT_THAT(findings(), ElementsAre("tools.missing apt-cache", "host.read_only /etc/systemd/system",
                                      "units.masked apt-daily.service",
                                      "schedule.bad_calendar package.apt.upgrade_timer.on_calendar"));
}

TEST_F(WholeCheckOfDebian, AsksForNoUnitsOfUpgradesThatAreSwitchedOff) {
  host_.set("minder.automatic_upgrades", "false");
  host_.set("package.apt.upgrade_timer.on_calendar", "Mon 27:00");
  host_.system->on("systemctl is-enabled apt-daily.service 2> /dev/null", 1, "masked\n");

  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(WholeCheckOfDebian, LooksForOtherListingsOfTheRepository) {
  host_.write("/etc/apt/sources.list",
              "deb https://repo.velmora.example/velmora-apt-repo systemd-production main\n");
  host_.set("package.apt.repo.channel", "systemd-production");

  EXPECT_THAT(findings(), ElementsAre("repository.listed_twice /etc/apt/sources.list"));
}

TEST_F(WholeCheckOfEl, LooksAtDnfAndForOtherListingsOfTheRepository) {
  host_.system->on("dnf --version 2> /dev/null | head -n 1 | grep -q dnf5", 0);
  host_.system->on("systemctl is-enabled dnf-automatic-install.timer 2> /dev/null", 1, "masked\n");
  host_.write("/etc/yum.repos.d/other.repo", "[quorvane]\nbaseurl=https://elsewhere.test/\n");

  EXPECT_THAT(findings(), ElementsAre("units.masked dnf-automatic-install.timer", "host.dnf5 dnf",
                                      "repository.id_used_twice /etc/yum.repos.d/other.repo"));
}

TEST_F(WholeCheckOfDebian, OfAHostThatIsNotSupportedLooksAtTheStagingTreeAlone) {
  host_.write("/etc/os-release", "ID=other\n");
  write_to_tree("config-files/apt/extra", "text");

  EXPECT_THAT(findings(), ElementsAre("staging.foreign_file /config-files/apt/extra",
                                      "host.unsupported /etc/os-release"));
  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

// What a person reads of each finding.
TEST_F(WholeCheckOfDebian, SaysWhatIsWrongAndWhatToDo) {
  host_.set("package.apt.upgrade_timer.on_calendar", "Mon 27:00");
  host_.set("package.apt.upgrade_timer.randomized_delay", "a while");
  host_.set("minder.metrics_file", "/etc/nowhere/m.prom");
  host_.remove("/etc/apt/sources.list.d");
  host_.system->on("command -v service > /dev/null", 1);
  host_.system->on("test -w /etc/apt/apt.conf.d", 1);
  host_.system->on("systemctl is-enabled apt-daily.timer 2> /dev/null", 1, "masked\n");
  host_.system->on("command -v systemd-analyze > /dev/null", 0);
  host_.system->on("systemd-analyze calendar 'Mon 27:00' &> /dev/null", 1);
  host_.system->on("systemd-analyze timespan 'a while' &> /dev/null", 1);

  EXPECT_EQ(text_without_keys(),
            "service: this command is missing\n"
            "    Remedy: install the package init-system-helpers\n"
            "    [tools.missing]\n"
            "/etc/apt/sources.list.d: this directory of the package manager's is missing\n"
            "    Remedy: install the package manager again, or create the directory\n"
            "    [host.directory_missing]\n"
            "/etc/apt/apt.conf.d: cannot be written to: the file system is read-only\n"
            "    Remedy: mount it writable; a host whose /etc cannot be changed cannot be minded\n"
            "    [host.read_only]\n"
            "/etc/nowhere: the directory of minder.metrics_file is missing\n"
            "    Remedy: create it, or name the directory that the node exporter reads\n"
            "    [metrics.directory_missing]\n"
            "apt-daily.timer: is masked: automatic upgrades need it to run\n"
            "    Remedy: \"systemctl unmask apt-daily.timer\", or minder.automatic_upgrades = false\n"
            "    [units.masked]\n"
            "package.apt.upgrade_timer.on_calendar: systemd cannot read \"Mon 27:00\"\n"
            "    Remedy: must be a calendar expression such as Mon..Fri 03:00; try it with \"systemd-analyze "
            "calendar\"\n"
            "    [schedule.bad_calendar]\n"
            "package.apt.upgrade_timer.randomized_delay: systemd cannot read \"a while\"\n"
            "    Remedy: must be a time span such as 30min; try it with \"systemd-analyze timespan\"\n"
            "    [schedule.bad_delay]\n"
            "7 findings.\n");
}

TEST_F(WholeCheckOfDebian, SaysWhatItCouldNotLookAt) {
  host_.set("package.apt.upgrade_timer.on_calendar", "daily");
  host_.system->on("command -v systemd-analyze > /dev/null", 1);

  EXPECT_THAT(
      to_text(check()),
      EndsWith("Not checked: the calendar and delay of automatic upgrades, because systemd-analyze is "
               "not installed on this host.\n"
               "Nothing found that needs to be put right.\n"));
}

TEST_F(WholeCheckOfDebian, ListsTheKeysForProgramsToo) {
  const auto keys = json_document::Json::parse(to_json_text(check())).at("keys");

  EXPECT_EQ(keys, json_document::Json::parse(R"([{
              "keyring": ")" + (host_.installed_tree() / "keyrings/zant-velmora.gpg").string() +
                                             R"(",
              "fingerprint": "4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198",
              "primary": "4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198",
              "user_names": ["Good Key <good@velmora.test>"],
              "algorithm": "EdDSA", "bits": 255, "created": "2026-01-01", "expires": null,
              "revoked": false, "can_sign": true}])"));
}

TEST_F(WholeCheckOfDebian, MakesUserNamesHarmlessForATerminal) {
  std::string keyring = test_support::GOOD_KEYRING;
  keyring.replace(keyring.find("Good Key"), 4, "\x1b[2J");
  host_.put_keyring(keyring);

  EXPECT_THAT(to_text(check()), HasSubstr("    \\x1b[2J Key <good@velmora.test>\n"));
}

TEST_F(WholeCheckOfDebian, FindsAPackageThatMustBeInstalledFirst) {
  host_.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 1);

  EXPECT_EQ(text_without_keys(),
            "zant-velmora: is not installed, and the repository's source list needs its architecture\n"
            "    Remedy: install the package first, from the file that the vendor ships\n"
            "    [package.not_installed]\n"
            "1 finding.\n");
}

TEST_F(WholeCheckOfDebian, FindsATimerThatIsNotEnabled) {
  host_.system->on("systemctl is-enabled apt-daily.timer 2> /dev/null", 1, "disabled\n");
  host_.system->on("systemctl is-enabled unattended-upgrades.service 2> /dev/null", 1, "disabled\n");

  EXPECT_EQ(
      text_without_keys(),
      "apt-daily.timer: is not enabled: after a start of the host it does not run, or only when a cycle "
      "of package-minder's has started it\n"
      "    Remedy: \"systemctl enable apt-daily.timer\"\n"
      "    [units.not_enabled]\n"
      "1 finding.\n");
}

TEST_F(WholeCheckOfDebian, FindsSettingsThatAFirstCycleWouldDisplace) {
  host_.write("/etc/apt/apt.conf.d/50unattended-upgrades",
              "Unattended-Upgrade::Package-Blacklist { \"nginx\"; };\n"
              "Unattended-Upgrade::Mail \"root\";\n");
  host_.write("/etc/apt/apt.conf.d/52local", "Unattended-Upgrade::Mail \"root\";\n");

  EXPECT_EQ(text_without_keys(),
            "/etc/apt/apt.conf.d/50unattended-upgrades: Unattended-Upgrade::Package-Blacklist \"nginx\" goes "
            "out of force while package-minder's file is in its place\n"
            "    Remedy: to keep it, say it in a file of yours that sorts later: see administration.md\n"
            "    [upgrades.setting_displaced]\n"
            "1 finding.\n");
}

TEST_F(WholeCheckOfDebian, FindsADisplacedSettingNowhereWithUpgradesSwitchedOffOrAKeyringMissing) {
  host_.write("/etc/apt/apt.conf.d/50unattended-upgrades", "Unattended-Upgrade::Mail \"root\";\n");
  host_.set("minder.automatic_upgrades", "false");
  EXPECT_THAT(findings(), IsEmpty());

  host_.set("minder.automatic_upgrades", "true");
  remove_from_tree("keyrings/zant-velmora.gpg");
  EXPECT_THAT(findings(), ElementsAre("keyring.missing /keyrings/zant-velmora.gpg"));
}

TEST_F(WholeCheckOfDebian, FindsWhatWeakensTheHost) {
  host_.write("/etc/apt/sources.list.d/zant-velmora.list",
              "deb [arch=amd64 trusted=yes] https://repo.velmora.example/ systemd-production main\n");
  host_.system->on("apt-config dump", 0, "Acquire::https::Verify-Peer \"false\";\n");

  EXPECT_THAT(findings(),
              ElementsAre("repository.server_not_verified APT's configuration",
                          "repository.unsigned_accepted /etc/apt/sources.list.d/zant-velmora.list"));
}

TEST_F(WholeCheckOfDebian, NamesTheCausesThatStandInTheConfiguration) {
  outlook_->causes = {
      {Cause_Effect::BLOCKS, "package.pinned", "a pin", "/etc/apt/preferences.d/a:1: x\nmore", "rm a", true},
      {Cause_Effect::BLOCKS, "disk.full", "no room", "/var", "Make room"},
      {Cause_Effect::OBSCURES, "repository.not_refreshed", "old", "/var", "apt-get update"}};

  EXPECT_EQ(text_without_keys(),
            "/etc/apt/preferences.d/a:1: x: a pin\n"
            "    Remedy: rm a\n"
            "    [package.pinned]\n"
            "1 finding.\n");
}

TEST_F(WholeCheckOfDebian, NamesAllButWhatACycleBringsWhenTheRepositoryIsAsked) {
  outlook_->causes = {
      {Cause_Effect::BLOCKS, "disk.full", "no room", "/var", "Make room"},
      {Cause_Effect::BLOCKS, "repository.not_registered", "none", "none", "package-minder once"},
      {Cause_Effect::BLOCKS, "timer.stopped", "stopped", "timer", "systemctl start timer"}};

  const auto report = make_check_report(host_.settings(), host_.services, true, registry_);

  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(report.findings[0].code, "disk.full");
}

TEST_F(WholeCheckOfDebian, NamesAMaskedUnitOnce) {
  host_.system->on("systemctl is-enabled apt-daily.timer 2> /dev/null", 1, "masked\n");
  outlook_->causes = {
      {Cause_Effect::BLOCKS, "timer.masked", "apt-daily.timer is masked, so it never runs", "", "", true},
      {Cause_Effect::BLOCKS, "timer.masked", "apt-daily-upgrade.timer is masked, so it never runs", "x", "",
       true}};

  EXPECT_THAT(findings(), ElementsAre("units.masked apt-daily.timer", "timer.masked x"));
}

TEST_F(WholeCheckOfDebian, AsksWhatBecomesOfThePackageAfterTheNextCycle) {
  check();

  const auto& planned = test_support::Told_Family<APT_Family>::planned();
  ASSERT_TRUE(planned.contains("/etc/apt/sources.list.d/zant-velmora.list"));
  EXPECT_THAT(planned.at("/etc/apt/sources.list.d/zant-velmora.list").value_or(""),
              HasSubstr("https://repo.velmora.example/"));
  EXPECT_TRUE(planned.contains("/etc/apt/apt.conf.d/20auto-upgrades"));
}

TEST_F(WholeCheckOfEl, AsksWhatBecomesOfThePackageWithoutAPlanThatMayNeedTheNetwork) {
  check();

  EXPECT_THAT(test_support::Told_Family<DNF_Family>::planned(), IsEmpty());
}

TEST_F(WholeCheckOfEl, FindsWhatWeakensTheHost) {
  host_.write("/etc/yum.repos.d/quorvane.repo", "[quorvane]\nenabled=0\ngpgcheck=no\nsslverify=False\n");

  EXPECT_THAT(findings(), ElementsAre("repository.switched_off /etc/yum.repos.d/quorvane.repo",
                                      "repository.unsigned_accepted /etc/yum.repos.d/quorvane.repo",
                                      "repository.server_not_verified /etc/yum.repos.d/quorvane.repo"));
}

}  // namespace
}  // namespace zant::velmora_host
