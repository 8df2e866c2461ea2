#include <zant/velmora_host/observation/cycle_watch.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

class CycleWatch : public ::testing::Test {
 protected:
  Cycle_Watch::Clock::time_point start_{};
  Cycle_Watch watch_{minutes(60), minutes(30), start_};
};

TEST_F(CycleWatch, LetsTheWorkerWaitForItsInterval) {
  watch_.note_cycle_end(start_);

  EXPECT_TRUE(watch_.is_alive(start_ + minutes(60)));
  EXPECT_FALSE(watch_.is_alive(start_ + minutes(66)));
}

TEST_F(CycleWatch, LetsACommandTakeItsTime) {
  watch_.note_command_begin(Command_Kind::REFRESHES_REPOSITORIES, start_);

  EXPECT_TRUE(watch_.is_alive(start_ + minutes(34)));
  EXPECT_FALSE(watch_.is_alive(start_ + minutes(36)));
}

TEST_F(CycleWatch, NeverGivesUpAnInstallation) {
  watch_.note_command_begin(Command_Kind::INSTALLS_PACKAGES, start_);

  EXPECT_TRUE(watch_.is_alive(start_ + hours(100)));
}

TEST_F(CycleWatch, GivesUpAWorkerThatNeverBegins) {
  EXPECT_TRUE(watch_.is_alive(start_ + minutes(5)));
  EXPECT_FALSE(watch_.is_alive(start_ + minutes(6)));
}

TEST_F(CycleWatch, CountsFromTheLastStep) {
  watch_.note_cycle_begin(start_);
  watch_.note_command_begin(Command_Kind::INSTALLS_PACKAGES, start_ + minutes(1));
  watch_.note_command_end(start_ + minutes(90));

  EXPECT_TRUE(watch_.is_alive(start_ + minutes(94)));
  EXPECT_FALSE(watch_.is_alive(start_ + minutes(96)));
}

}  // namespace
}  // namespace zant::velmora_host
