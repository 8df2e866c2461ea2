#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/host/system.hpp>

#include <support/fake_system.hpp>
#include <support/virtual_slot.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace zant::velmora;
using test_support::Fake_System;
using test_support::virtual_slot;
using testing::ElementsAre;

namespace {

static_assert(std::is_abstract_v<System>);
static_assert(std::has_virtual_destructor_v<System>);

TEST(SystemInterface, RunsCommandsInItsFirstSlotAfterTheDestructor) {
  EXPECT_EQ(virtual_slot(&System::run_command), 2);
}

TEST(CommandResult, HoldsTheOutputAndThenTheExitCode) {
  const auto& [output, exit_code] = Command_Result{"printed", 3};

  static_assert(std::is_same_v<decltype(output), const std::string>);
  static_assert(std::is_same_v<decltype(exit_code), const int>);
  EXPECT_EQ(output, "printed");
  EXPECT_EQ(exit_code, 3);
}

TEST(RunFlag, IsTrueForWhatTheLibraryPasses) {
  EXPECT_EQ(Run_Flag::WAIT_AND_CAPTURE, true);
}

TEST(CommandSuccess, IsTheExitCodeZeroAndNothingElse) {
  Fake_System system;
  system.on("quiet", 0);
  system.on("talkative", 1, "all went well");
  system.on("killed", -1);

  EXPECT_TRUE(command_succeeds(system, "quiet"));
  EXPECT_FALSE(command_succeeds(system, "talkative"));
  EXPECT_FALSE(command_succeeds(system, "killed"));
  EXPECT_THAT(system.commands(), ElementsAre("quiet", "talkative", "killed"));
}

}  // namespace
