#include <zant/velmora_host/observation/cycle_record.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

class CycleInOneLine : public ::testing::Test {
 protected:
  CycleInOneLine() {
    record_.started = std::chrono::system_clock::from_time_t(1800000000);
    record_.seconds = 0.31;
  }

  Cycle_Record record_;
};

TEST_F(CycleInOneLine, SaysThatNothingWasToDo) {
  EXPECT_EQ(describe(record_), "Last cycle 2027-01-15T08:00:00Z, 0.3 s: everything in step");
}

TEST_F(CycleInOneLine, NamesTheFirstChange) {
  record_.actions = {"Installing\nthe keyring", "More"};

  EXPECT_EQ(describe(record_),
            "Last cycle 2027-01-15T08:00:00Z, 0.3 s: 2 changes, first: Installing\\nthe keyring");
}

TEST_F(CycleInOneLine, NamesTheFailure) {
  record_.failures = {{Cycle_Step::REPOSITORY, "no network"}, {Cycle_Step::UPGRADES, "no timer"}};

  EXPECT_EQ(describe(record_), "Last cycle 2027-01-15T08:00:00Z, 0.3 s: failed, no network");
}

}  // namespace
}  // namespace zant::velmora_host
