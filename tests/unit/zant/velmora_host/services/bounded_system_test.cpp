#include <zant/velmora_host/services/bounded_system.hpp>

#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Time = Bounded_System::Clock::time_point;

// Takes as long as it is told to, on a clock that only it moves.
class Slow_System : public Interruptible_System {
 public:
  velmora::Command_Result run_command(const std::string& /*command*/, bool /*flag*/) override {
    ADD_FAILURE() << "it was not given a limit";
    return {"", 1};
  }
  velmora::Command_Result run_command_within(const std::string& command,
                                             const Command_Bounds& bounds) override {
    commands.push_back(command);
    if (bounds.is_given_up && bounds.is_given_up()) {
      return {"", 124};
    }
    const bool is_in_time = now + takes <= bounds.deadline;
    now = is_in_time ? now + takes : bounds.deadline;
    return is_in_time ? velmora::Command_Result{"answer", exit_code} : velmora::Command_Result{"", 124};
  }

  Time now;
  seconds takes = seconds(4);
  int exit_code = 0;
  std::vector<std::string> commands;
};

class BoundedSystem : public ::testing::Test {
 protected:
  std::shared_ptr<Slow_System> real_ = std::make_shared<Slow_System>();
  Bounded_System bounded_{real_, {Time() + seconds(9), {}}, [this] { return real_->now; }};
};

TEST_F(BoundedSystem, GivesEachCommandWhatIsLeft) {
  EXPECT_EQ(bounded_.run_command("one", true).output, "answer");
  EXPECT_EQ(bounded_.run_command("two", true).exit_code, 0);
  EXPECT_EQ(bounded_.first_cut(), std::nullopt);

  EXPECT_EQ(bounded_.run_command("three", true).exit_code, 124);
  EXPECT_EQ(real_->now, Time() + seconds(9));
  EXPECT_EQ(bounded_.first_cut(), "three");
}

TEST_F(BoundedSystem, StartsNothingAfterTheDeadline) {
  real_->now = Time() + seconds(9);

  EXPECT_EQ(bounded_.run_command("one", true).exit_code, 124);
  EXPECT_EQ(bounded_.run_command("two", true).exit_code, 124);

  EXPECT_THAT(real_->commands, IsEmpty());
  EXPECT_EQ(bounded_.first_cut(), "one");
}

TEST_F(BoundedSystem, TakesACommandsOwnExitCodeForNoCut) {
  real_->exit_code = 124;

  EXPECT_EQ(bounded_.run_command("timeout 1 sleep 2", true).exit_code, 124);

  EXPECT_EQ(bounded_.first_cut(), std::nullopt);
}

TEST_F(BoundedSystem, IsGivenUp) {
  bool is_given_up = false;
  Bounded_System bounded(real_, {Time::max(), [&is_given_up] { return is_given_up; }},
                         [this] { return real_->now; });
  EXPECT_EQ(bounded.run_command("one", true).exit_code, 0);

  is_given_up = true;

  EXPECT_EQ(bounded.run_command("two", true).exit_code, 124);
  EXPECT_THAT(real_->commands, ElementsAre("one"));
  EXPECT_EQ(bounded.first_cut(), "two");
}

TEST_F(BoundedSystem, HasTheTighterBoundsOfTwo) {
  const auto outer = std::make_shared<Bounded_System>(real_, Command_Bounds{Time() + seconds(3), {}},
                                                      [this] { return real_->now; });
  Bounded_System inner(outer, {Time() + seconds(9), {}}, [this] { return real_->now; });

  EXPECT_EQ(inner.run_command("one", true).exit_code, 124);

  EXPECT_EQ(real_->now, Time() + seconds(3));
  EXPECT_EQ(outer->first_cut(), "one");
}

TEST(BoundedSystemOverAnyOther, WaitsForWhatRunsAndStartsNothingAfterwards) {
  Time now;
  const auto real = std::make_shared<velmora::test_support::Fake_System>();
  real->on("slow", 0, "done");
  real->during("slow", [&now] { now += seconds(20); });
  Bounded_System bounded(real, {Time() + seconds(9), {}}, [&now] { return now; });

  EXPECT_EQ(bounded.run_command("slow", true).output, "done");
  EXPECT_EQ(bounded.run_command("next", true).exit_code, 124);

  EXPECT_THAT(real->commands(), ElementsAre("slow"));
}

}  // namespace
}  // namespace zant::velmora_host
