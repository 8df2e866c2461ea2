#include <zant/velmora/dnf/dnf_unattended_upgrade_config.hpp>

#include <support/fake_upgrade_timer_manager.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;

namespace {

TEST(DnfUnattendedUpgradeConfig, KeepsTheManagerAndTheFlag) {
  const auto manager = std::make_shared<Fake_Upgrade_Timer_Manager>();

  EXPECT_EQ(DNF_Unattended_Upgrade_Config(manager, true).timer_manager, manager);
  EXPECT_TRUE(DNF_Unattended_Upgrade_Config(manager, true).enabled);
  EXPECT_FALSE(DNF_Unattended_Upgrade_Config(manager, false).enabled);
}

TEST(DnfUnattendedUpgradeConfig, SharesTheManagerWithItsCopies) {
  const auto manager = std::make_shared<Fake_Upgrade_Timer_Manager>();
  const DNF_Unattended_Upgrade_Config config(manager, true);

  const DNF_Unattended_Upgrade_Config copy = config;

  EXPECT_EQ(copy.timer_manager, manager);
  EXPECT_TRUE(copy.enabled);
  EXPECT_EQ(manager.use_count(), 3);
}

TEST(DnfUnattendedUpgradeConfig, AsksNothingOfTheManager) {
  const auto journal = make_journal();

  const DNF_Unattended_Upgrade_Config config(std::make_shared<Fake_Upgrade_Timer_Manager>(journal), true);

  EXPECT_TRUE(journal->empty());
}

TEST(DnfUnattendedUpgradeConfig, HoldsItsFieldsInAFixedOrder) {
  const auto given = std::make_shared<Fake_Upgrade_Timer_Manager>();

  const auto& [manager, enabled] = DNF_Unattended_Upgrade_Config(given, true);

  EXPECT_EQ(manager, given);
  EXPECT_TRUE(enabled);
  static_assert(std::is_same_v<decltype(enabled), const bool>);
}

}  // namespace
