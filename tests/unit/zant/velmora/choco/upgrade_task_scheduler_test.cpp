#include <zant/velmora/choco/choco_upgrade_task_scheduler.hpp>
#include <zant/velmora/choco/upgrade_task_scheduler.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_abstract_v<Upgrade_Task_Scheduler>);
static_assert(std::has_virtual_destructor_v<Upgrade_Task_Scheduler>);
static_assert(sizeof(Upgrade_Task_Scheduler) == sizeof(void*), "an interface has no data members");
static_assert(std::is_convertible_v<Choco_Upgrade_Task_Scheduler*, Upgrade_Task_Scheduler*>);

TEST(UpgradeTaskScheduler, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Upgrade_Task_Scheduler::create_task), 2);
  EXPECT_EQ(virtual_slot(&Upgrade_Task_Scheduler::delete_task), 3);
}

}  // namespace
