#include <zant/velmora/choco/choco_unattended_upgrade_config.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

using namespace zant::velmora;

namespace {

class Idle_Scheduler : public Upgrade_Task_Scheduler {
 public:
  bool create_task() override { return true; }
  bool delete_task() override { return true; }
};

TEST(ChocoUnattendedUpgradeConfig, KeepsTheSchedulerAndTheFlag) {
  const auto scheduler = std::make_shared<Idle_Scheduler>();

  const Choco_Unattended_Upgrade_Config wanted(scheduler, true);
  const Choco_Unattended_Upgrade_Config unwanted(scheduler, false);

  EXPECT_EQ(wanted.task_scheduler, scheduler);
  EXPECT_TRUE(wanted.enabled);
  EXPECT_FALSE(unwanted.enabled);
}

TEST(ChocoUnattendedUpgradeConfig, SharesTheSchedulerWithItsCopies) {
  const auto scheduler = std::make_shared<Idle_Scheduler>();
  const Choco_Unattended_Upgrade_Config config(scheduler, true);

  const Choco_Unattended_Upgrade_Config copy = config;

  EXPECT_EQ(copy.task_scheduler, scheduler);
  EXPECT_TRUE(copy.enabled);
  EXPECT_EQ(scheduler.use_count(), 3);
}

TEST(ChocoUnattendedUpgradeConfig, HoldsItsFieldsInAFixedOrder) {
  const auto given = std::make_shared<Idle_Scheduler>();

  const auto& [scheduler, enabled] = Choco_Unattended_Upgrade_Config(given, true);

  EXPECT_EQ(scheduler, given);
  EXPECT_TRUE(enabled);
  static_assert(std::is_same_v<decltype(enabled), const bool>);
}

}  // namespace
