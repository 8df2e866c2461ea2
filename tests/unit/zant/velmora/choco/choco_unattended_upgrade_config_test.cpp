#include <zant/velmora/choco/choco_unattended_upgrade_config.hpp>

#include <gtest/gtest.h>

#include <memory>

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

}  // namespace
