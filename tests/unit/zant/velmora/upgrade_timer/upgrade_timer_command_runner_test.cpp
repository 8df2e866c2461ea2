#include <zant/velmora/upgrade_timer/upgrade_timer_command_runner.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_abstract_v<Upgrade_Timer_Command_Runner>);
static_assert(std::has_virtual_destructor_v<Upgrade_Timer_Command_Runner>);

TEST(UpgradeTimerCommandRunnerInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Command_Runner::start_timer), 2);
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Command_Runner::timer_needs_reload), 3);
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Command_Runner::reload_timer), 4);
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Command_Runner::timer_is_running), 5);
}

}  // namespace
