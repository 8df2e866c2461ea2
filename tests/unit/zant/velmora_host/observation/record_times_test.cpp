// No record loses a time that 32 bits cannot count, nor one from before 1970.

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/observation/stalled_installation.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace zant::velmora_host {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;
using ::testing::HasSubstr;

struct Moment {
  long long since_epoch;
  const char* text;
};

class RecordTimes : public ::testing::TestWithParam<Moment> {
 protected:
  RecordTimes() { filesystem_.add_directory("/state"); }

  std::string text_of(const char* file) {
    return filesystem_.read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  }

  const system_clock::time_point time_{seconds(GetParam().since_epoch)};
  velmora::test_support::Fake_Filesystem filesystem_;
};

TEST_P(RecordTimes, StayInTheRecordOfCycles) {
  Cycle_State state;
  state.last_cycle.program = "run";
  state.last_cycle.started = time_;
  state.history.last_success = time_;
  state.history.keys = Key_History{{"vendor"}, {{"vendor", time_, true}}};

  ASSERT_TRUE(cycle_store::write(filesystem_, "/state/last-cycle.json", state));
  const auto seen = cycle_store::read(filesystem_, "/state/last-cycle.json");

  EXPECT_THAT(text_of("/state/last-cycle.json"), HasSubstr(GetParam().text));
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->last_cycle.started, time_);
  EXPECT_EQ(seen->history.last_success, time_);
  EXPECT_EQ(seen->history.keys.value().imported.at(0).time, time_);
}

TEST_P(RecordTimes, StayInTheVerdict) {
  Verdict verdict;
  verdict.found = time_;
  verdict.outlook.next_run = time_;
  verdict.history.offered = {"2.0", time_};

  ASSERT_TRUE(verdict_store::write(filesystem_, "/state/verdict.json", verdict));
  const auto seen = verdict_store::read(filesystem_, "/state/verdict.json");

  EXPECT_THAT(text_of("/state/verdict.json"), HasSubstr(GetParam().text));
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->found, time_);
  EXPECT_EQ(seen->outlook.next_run, time_);
  EXPECT_EQ(seen->history.offered.value().since, time_);
}

TEST_P(RecordTimes, StayWithAStalledInstallation) {
  const Stalled_Installation stalled = {"apt-get install x", time_};

  ASSERT_TRUE(stalled_installation::write(filesystem_, "/state/installation.json", stalled));

  EXPECT_THAT(text_of("/state/installation.json"), HasSubstr(GetParam().text));
  EXPECT_EQ(stalled_installation::read(filesystem_, "/state/installation.json"), stalled);
}

INSTANTIATE_TEST_SUITE_P(Moments, RecordTimes,
                         ::testing::Values(Moment{2232230400, "2040-09-26T00:00:00Z"},
                                           Moment{4417200000, "2109-12-23T00:00:00Z"},
                                           Moment{-300000000, "1960-06-29T18:40:00Z"}));

}  // namespace
}  // namespace zant::velmora_host
