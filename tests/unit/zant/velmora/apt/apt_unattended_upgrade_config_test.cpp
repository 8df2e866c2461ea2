#include <zant/velmora/apt/apt_unattended_upgrade_config.hpp>

#include <support/fake_upgrade_timer_manager.hpp>
#include <support/recorded_settings.hpp>
#include <support/scoped_locale.hpp>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <locale>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;

namespace {

static_assert(!std::is_polymorphic_v<APT_Unattended_Upgrade_Config>);

class AptUnattendedUpgradeConfig : public testing::Test {
 protected:
  APT_Unattended_Upgrade_Config make_config(bool enabled = true) const {
    return APT_Unattended_Upgrade_Config(settings, "/staging", timer_manager, enabled);
  }

  std::string origins_from(const std::string& setting) {
    settings.set("package.apt.repo.origins_pattern", setting);
    return make_config().service.origins_pattern;
  }

  Recorded_Settings settings;
  std::shared_ptr<Upgrade_Timer_Manager> timer_manager = std::make_shared<Fake_Upgrade_Timer_Manager>();
};

class AptOriginsPattern : public AptUnattendedUpgradeConfig {};

TEST_F(AptUnattendedUpgradeConfig, ListsTheSameThreeFilesEverywhereInOneOrder) {
  const auto service = make_config().service;

  EXPECT_THAT(service.backup_files, ElementsAre("/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades",
                                                "/etc/apt/apt.conf.d/.zant-backups/50unattended-upgrades",
                                                "/etc/apt/apt.conf.d/.zant-backups/75lowerspeed"));
  EXPECT_THAT(service.source_files, ElementsAre("/staging/config-files/apt/20auto-upgrades",
                                                "/staging/config-files/apt/50unattended-upgrades",
                                                "/staging/config-files/apt/75lowerspeed"));
  EXPECT_THAT(service.target_files,
              ElementsAre("/etc/apt/apt.conf.d/20auto-upgrades", "/etc/apt/apt.conf.d/50unattended-upgrades",
                          "/etc/apt/apt.conf.d/75lowerspeed"));
}

TEST_F(AptUnattendedUpgradeConfig, LimitsTheBandwidthTo500ByDefault) {
  EXPECT_EQ(make_config().service.bandwidth_limit, 500);
}

TEST_F(AptUnattendedUpgradeConfig, TakesTheConfiguredBandwidth) {
  settings.set("package.apt.repo.bandwidth_limit", "1234");

  EXPECT_EQ(make_config().service.bandwidth_limit, 1234);
}

TEST_F(AptUnattendedUpgradeConfig, TakesTheBandwidthAsASignedNumber) {
  settings.set("package.apt.repo.bandwidth_limit", "-1");

  EXPECT_EQ(make_config().service.bandwidth_limit, -1);
}

TEST_F(AptUnattendedUpgradeConfig, ExpandsReferencesBetweenSettings) {
  settings.set("site.limit", "250");
  settings.set("site.origin", "o=Vendor");
  settings.set("package.apt.repo.bandwidth_limit", "${site.limit}");

  EXPECT_EQ(make_config().service.bandwidth_limit, 250);
  EXPECT_EQ(origins_from("${site.origin};l=Label"), "\"o=Vendor\";\"l=Label\";");
}

TEST_F(AptUnattendedUpgradeConfig, LetsTheSettingsErrorOfABandwidthThatIsNoNumberThrough) {
  for (const char* value : {"fast", "500kB", "", "1.5", "2147483648"}) {
    settings.set("package.apt.repo.bandwidth_limit", value);

    EXPECT_THROW(make_config(), Poco::SyntaxException) << '"' << value << '"';
  }
}

TEST_F(AptUnattendedUpgradeConfig, ReadsTheOriginsAndThenTheBandwidth) {
  make_config();

  EXPECT_THAT(settings.keys(),
              ElementsAre("package.apt.repo.origins_pattern", "package.apt.repo.bandwidth_limit"));
}

TEST_F(AptUnattendedUpgradeConfig, KeepsTheTimerManagerAndTheFlag) {
  const auto on = make_config(true);
  const auto off = make_config(false);

  EXPECT_EQ(on.timer_manager, timer_manager);
  EXPECT_TRUE(on.enabled);
  EXPECT_FALSE(off.enabled);
}

TEST_F(AptUnattendedUpgradeConfig, MayHaveNoTimerManager) {
  timer_manager = nullptr;

  EXPECT_EQ(make_config().timer_manager, nullptr);
}

TEST_F(AptUnattendedUpgradeConfig, HoldsItsFieldsInAFixedOrder) {
  const auto& [service, manager, enabled] = make_config();
  const auto& [backup_files, source_files, target_files, origins_pattern, bandwidth_limit] = service;

  EXPECT_EQ(backup_files.front(), "/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades");
  EXPECT_EQ(source_files.front(), "/staging/config-files/apt/20auto-upgrades");
  EXPECT_EQ(target_files.front(), "/etc/apt/apt.conf.d/20auto-upgrades");
  EXPECT_EQ(origins_pattern, "\"o=Quorvane Velmora Core VMS Repo\";");
  EXPECT_EQ(bandwidth_limit, 500);
  EXPECT_EQ(manager, timer_manager);
  EXPECT_TRUE(enabled);
  static_assert(std::is_same_v<decltype(bandwidth_limit), const std::int32_t>);
}

TEST_F(AptOriginsPattern, IsTheQuotedDefaultWithoutASetting) {
  EXPECT_EQ(make_config().service.origins_pattern, "\"o=Quorvane Velmora Core VMS Repo\";");
}

TEST_F(AptOriginsPattern, IsALoneSemicolonForAnEmptySetting) {
  EXPECT_EQ(origins_from(""), ";");
}

TEST_F(AptOriginsPattern, DropsEmptyEntries) {
  EXPECT_EQ(origins_from(";"), ";");
  EXPECT_EQ(origins_from(";;"), ";");
  EXPECT_EQ(origins_from(";o=A;;o=B;"), "\"o=A\";\"o=B\";");
}

TEST_F(AptOriginsPattern, TrimsAnEntry) {
  EXPECT_EQ(origins_from("  o=Vendor Repo  "), "\"o=Vendor Repo\";");
  EXPECT_EQ(origins_from("\to=Vendor\n"), "\"o=Vendor\";");
}

TEST_F(AptOriginsPattern, JoinsTwoEntriesWithoutSpaces) {
  EXPECT_EQ(origins_from("o=A,l=X ; o=B"), "\"o=A,l=X\";\"o=B\";");
}

TEST_F(AptOriginsPattern, KeepsAnEntryOfBlanksAsAnEmptyOne) {
  EXPECT_EQ(origins_from(" "), "\"\";");
  EXPECT_EQ(origins_from("o=A; ;o=B"), "\"o=A\";\"\";\"o=B\";");
}

TEST_F(AptOriginsPattern, LeavesTheInsideOfAnEntryAlone) {
  EXPECT_EQ(origins_from("o={}, \"x\""), "\"o={}, \"x\"\";");
}

// A classification of characters in which the underscore is a space, and the blank is none.
class Underscore_Is_Space : public std::ctype<char> {
 public:
  Underscore_Is_Space() : std::ctype<char>(make_table(), true) {}

 private:
  static const mask* make_table() {
    auto* table = new mask[table_size];
    std::copy_n(classic_table(), table_size, table);
    table[static_cast<unsigned char>('_')] |= space;
    table[static_cast<unsigned char>(' ')] = print;
    return table;
  }
};

TEST_F(AptOriginsPattern, TrimsWhatTheDefaultLocaleTakesForSpace) {
  const Scoped_Locale locale(new Underscore_Is_Space);

  EXPECT_EQ(origins_from("__o=A_B__"), "\"o=A_B\";");
  EXPECT_EQ(origins_from(" o=A "), "\" o=A \";");
}

}  // namespace
