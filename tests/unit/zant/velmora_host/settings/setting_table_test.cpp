#include <zant/velmora_host/settings/setting_table.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const Setting& setting(const std::string& key) {
  return *setting_table().find(key);
}

TEST(SettingTable, HoldsEachKeyOnce) {
  std::set<std::string> keys;
  for (const auto& candidate : setting_table().settings()) {
    keys.insert(candidate.key);
  }

  EXPECT_THAT(setting_table().settings(), SizeIs(30));
  EXPECT_THAT(keys, SizeIs(30));
}

TEST(SettingTable, SaysWhatEachSettingMeans) {
  for (const auto& candidate : setting_table().settings()) {
    EXPECT_TRUE(candidate.meaning.ends_with('.')) << candidate.key;
    EXPECT_TRUE(candidate.detail.empty() || candidate.detail.ends_with('.')) << candidate.key;
    EXPECT_NE(candidate.rule.type, "") << candidate.key;
    EXPECT_FALSE(candidate.default_value.empty() && candidate.default_note.empty()) << candidate.key;
  }
}

TEST(SettingTable, AcceptsItsOwnDefaults) {
  for (const auto& candidate : setting_table().settings()) {
    if (!candidate.default_value.empty()) {
      EXPECT_EQ(candidate.rule.find_fault(candidate.default_value), "") << candidate.key;
    }
    if (!candidate.default_without_systemd.empty()) {
      EXPECT_EQ(candidate.rule.find_fault(candidate.default_without_systemd), "") << candidate.key;
    }
  }
}

TEST(SettingTable, HasTheDefaultsOfTheLibrary) {
  EXPECT_EQ(setting("package.apt.repo.url").default_value, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(setting("package.apt.repo.url").default_without_systemd,
            "http://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(setting("package.apt.repo.channel").default_value, "systemd-production");
  EXPECT_EQ(setting("package.apt.repo.channel").default_without_systemd, "sysvinit-production");
  EXPECT_EQ(setting("package.apt.repo.origins_pattern").default_value, "o=Quorvane Velmora Core VMS Repo");
  EXPECT_EQ(setting("package.apt.repo.bandwidth_limit").default_value, "500");
  EXPECT_EQ(setting("package.dnf.repo.url").default_value,
            "https://repo.velmora.example/velmora-yum-repo/repos");
  EXPECT_EQ(setting("package.dnf.repo.channel").default_value, "systemd-production");
  EXPECT_EQ(setting("package.dnf.repo.gpg_key").default_value,
            "https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg");
  EXPECT_EQ(setting("package.dnf.repo.throttle").default_value, "500k");
  EXPECT_EQ(setting("package.choco.repo.source_location").default_note,
            "`https://production.choco.velmora.example/v3/index.json`, with the name of the channel");
  EXPECT_EQ(setting("package.choco.repo.channel").default_value, "production");
  EXPECT_EQ(setting("package.choco.upgrade_scheduler.options").default_value, "/ST 01:00 /SC WEEKLY /D SUN");
}

TEST(SettingTable, TakesAShippedKeyForTheDefaultInTheLibrarysPlace) {
  const Setting_Table table(setting_defaults("/usr/share/package-minder/staging/keyrings/zant-velmora.asc"));
  const Setting& key = *table.find("package.dnf.repo.gpg_key");

  EXPECT_EQ(key.default_value, "file:///usr/share/package-minder/staging/keyrings/zant-velmora.asc");
  EXPECT_TRUE(key.replaces_library_default);
  EXPECT_EQ(key.rule.find_fault(key.default_value), "");
  EXPECT_FALSE(
      Setting_Table(setting_defaults("")).find("package.dnf.repo.gpg_key")->replaces_library_default);
}

TEST(SettingTable, TakesDirectoriesFromTheBuild) {
  Setting_Defaults defaults;
  defaults.staging_directory = "/opt/staging";
  defaults.state_directory = "/opt/state";
  defaults.base_directory = "/opt/base";

  const Setting_Table table(defaults);

  EXPECT_EQ(table.find("minder.staging_directory")->default_value, "/opt/staging");
  EXPECT_EQ(table.find("minder.state_directory")->default_value, "/opt/state");
  EXPECT_EQ(table.find("minder.base_directory")->default_value, "/opt/base");
}

TEST(SettingTable, TakesAnEmptyValueForUnsetWhereNoValueIsTheDefaultOfEveryHost) {
  std::vector<std::string> keys;
  for (const auto& candidate : setting_table().settings()) {
    if (candidate.is_unset_when_empty()) {
      keys.push_back(candidate.key);
    }
  }

  EXPECT_THAT(
      keys, ElementsAre("minder.repository_packages", "minder.base_directory", "minder.metrics_file",
                        "package.apt.repo.url", "package.apt.repo.channel",
                        "package.apt.upgrade_timer.on_calendar", "package.apt.upgrade_timer.randomized_delay",
                        "package.dnf.repo.baseurl", "package.dnf.upgrade_timer.on_calendar",
                        "package.dnf.upgrade_timer.randomized_delay", "package.choco.repo.source_location"));
}

TEST(SettingTable, HasClosedListsOfValues) {
  EXPECT_THAT(setting("minder.log.level").rule.choices,
              ElementsAre("trace", "debug", "info", "notice", "warning", "error", "fatal"));
  EXPECT_THAT(setting("minder.log.format").rule.choices, ElementsAre("auto", "terminal", "journal"));
  EXPECT_THAT(setting("minder.purge_on_removal").rule.choices,
              ElementsAre("true", "false", "yes", "no", "on", "off"));
  EXPECT_THAT(setting("minder.interval").rule.choices, IsEmpty());
}

TEST(SettingTable, KnowsWhatAppliesToItsSystem) {
  Setting_Defaults defaults;
  defaults.system = Setting_System::WINDOWS;
  const Setting_Table windows(defaults);

  EXPECT_TRUE(setting_table().applies(setting("minder.interval")));
  EXPECT_TRUE(setting_table().applies(setting("package.apt.repo.url")));
  EXPECT_FALSE(setting_table().applies(setting("package.choco.repo.channel")));
  EXPECT_TRUE(windows.applies(setting("minder.interval")));
  EXPECT_FALSE(windows.applies(setting("package.apt.repo.url")));
  EXPECT_TRUE(windows.applies(setting("package.choco.repo.channel")));
}

TEST(SettingTable, FindsNothingForAnUnknownKey) {
  EXPECT_EQ(setting_table().find("package.apt.repo.uri"), nullptr);
  EXPECT_EQ(setting_table().find("package.apt.repo"), nullptr);
  EXPECT_EQ(setting_table().find(""), nullptr);
}

struct Mistake {
  const char* written;
  const char* meant;
};

class MistakenKey : public ::testing::TestWithParam<Mistake> {};

TEST_P(MistakenKey, IsAnsweredWithTheNearestOne) {
  EXPECT_EQ(setting_table().nearest_key(GetParam().written).value_or("nothing"), GetParam().meant);
}

INSTANTIATE_TEST_SUITE_P(, MistakenKey,
                         ::testing::Values(Mistake{"Minder.Interval", "minder.interval"},
                                           Mistake{"minders.interval", "minder.interval"},
                                           Mistake{"minder.intervall", "minder.interval"},
                                           Mistake{"minder.intrval", "minder.interval"},
                                           Mistake{"minder.metric_file", "minder.metrics_file"},
                                           Mistake{"packages.apt.repo.url", "package.apt.repo.url"},
                                           Mistake{"packages.dnf.repo.url", "package.dnf.repo.url"},
                                           Mistake{"package.apt.repo.uri", "package.apt.repo.url"},
                                           Mistake{"package.dnf.repo.base_url", "package.dnf.repo.baseurl"},
                                           Mistake{"package.choco.chanel", "package.choco.repo.channel"},
                                           Mistake{"log.level", "nothing"},
                                           Mistake{"minder.log.colour", "minder.log.format"},
                                           // Of 18 characters 6 may be wrong, of 17 only 5.
                                           Mistake{"minder.intervalxxx", "minder.interval"},
                                           Mistake{"minder.interv______", "minder.interval"},
                                           Mistake{"minder.inte______", "nothing"},
                                           Mistake{"mirror", "nothing"}, Mistake{"", "nothing"}));

TEST(SettingTable, LooksForNoKeyNearAVeryLongOne) {
  EXPECT_EQ(setting_table().nearest_key(std::string(100000, 'a')), std::nullopt);
}

}  // namespace
}  // namespace zant::velmora_host
