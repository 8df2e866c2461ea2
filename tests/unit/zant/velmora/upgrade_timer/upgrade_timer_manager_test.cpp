#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <support/virtual_slot.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;
using testing::ElementsAre;
using Timer_Config = Upgrade_Timer_Manager::Timer_Config;

namespace {

static_assert(std::is_abstract_v<Upgrade_Timer_Manager>);
static_assert(std::has_virtual_destructor_v<Upgrade_Timer_Manager>);
static_assert(std::is_aggregate_v<Timer_Config>);
static_assert(std::is_aggregate_v<Timer_Config::Info>);

TEST(UpgradeTimerManagerInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Manager::get_timer_config), 2);
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Manager::initialize_timer), 3);
  EXPECT_EQ(virtual_slot(&Upgrade_Timer_Manager::restore_timer), 4);
}

TEST(TimerConfig, HoldsSourceTargetAndValueOfADropInInThisOrder) {
  const auto& [source, target, value] = Timer_Config::Info{"/source", "/target", "daily"};

  EXPECT_EQ(source, "/source");
  EXPECT_EQ(target, "/target");
  EXPECT_EQ(value, "daily");
  static_assert(std::is_same_v<decltype(source), const boost::filesystem::path>);
  static_assert(std::is_same_v<decltype(target), const boost::filesystem::path>);
  static_assert(std::is_same_v<decltype(value), const std::string>);
}

TEST(TimerConfig, HoldsCalendarDelayAndDirectoryInThisOrder) {
  const auto& [on_calendar, randomized_delay, override_dir] =
      Timer_Config{{"/1", "/2", "daily"}, {"/3", "/4", "1h"}, "/directory"};

  EXPECT_EQ(on_calendar.value, "daily");
  EXPECT_EQ(randomized_delay.value, "1h");
  EXPECT_EQ(override_dir, "/directory");
}

TEST(TimerConfig, NamesBothTargetsCalendarFirst) {
  const Timer_Config config{{"/source/1", "/d/calendar", "daily"}, {"/source/2", "/d/delay", "1h"}, "/d"};

  EXPECT_THAT(config.get_target_files(), ElementsAre("/d/calendar", "/d/delay"));
}

TEST(TimerConfig, NamesBothTargetsAlsoWhenNothingIsOverridden) {
  const Timer_Config config{{"", "/d/calendar", ""}, {"", "/d/delay", ""}, ""};

  EXPECT_THAT(config.get_target_files(), ElementsAre("/d/calendar", "/d/delay"));
}

TEST(TimerConfig, IsEmptyByDefault) {
  const Timer_Config config;

  EXPECT_EQ(config.on_calendar.source, "");
  EXPECT_EQ(config.on_calendar.target, "");
  EXPECT_EQ(config.on_calendar.value, "");
  EXPECT_EQ(config.randomized_delay.source, "");
  EXPECT_EQ(config.randomized_delay.target, "");
  EXPECT_EQ(config.randomized_delay.value, "");
  EXPECT_EQ(config.override_dir, "");
  EXPECT_THAT(config.get_target_files(), ElementsAre("", ""));
}

}  // namespace
