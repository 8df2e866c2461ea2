#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <support/captured_log.hpp>
#include <support/thread_seams.hpp>

#include <zant/velmora/package_minder/errors.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

using namespace zant::velmora;
using namespace std::chrono_literals;
using test_support::Captured_Log;
using test_support::Captured_Record;
using test_support::Thread_Seams;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;
using Clock = std::chrono::steady_clock;

namespace {

static_assert(!std::is_copy_constructible_v<Package_Minder_Thread>);
static_assert(!std::is_copy_assignable_v<Package_Minder_Thread>);
static_assert(!std::is_move_constructible_v<Package_Minder_Thread>);
static_assert(!std::is_polymorphic_v<Package_Minder_Thread>);
static_assert(std::is_constructible_v<Package_Minder_Thread, std::shared_ptr<Package_Minder>, unsigned int>);

constexpr const char* STARTING = "Package minding is starting";
constexpr const char* WAITING = "Worker is going into a waiting state";
constexpr const char* ACTIVE = "Worker is active";
constexpr const char* STOPPED = "Package minding has stopped";

const Captured_Record STARTING_RECORD{1, "Package_Minder_Thread", "Package minding is starting"};
const Captured_Record WAITING_RECORD{0, "Package_Minder_Thread", "Worker is going into a waiting state"};
const Captured_Record ACTIVE_RECORD{0, "Package_Minder_Thread", "Worker is active"};
const Captured_Record STOPPED_RECORD{1, "Package_Minder_Thread", "Package minding has stopped"};

// Longer than any test may take: a worker that waits it out never comes back in one.
constexpr unsigned int AN_HOUR = 3600;
constexpr unsigned int NO_PAUSE = 0;

/// A package that notes what is asked of it and lets a test act in its stead.
class Stub_Package : public Package {
 public:
  std::function<void()> on_initialize_repo = [] {};
  std::function<void()> on_initialize_upgrades = [] {};

  std::vector<std::string> calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }

  bool locked() const override {
    note_("locked");
    return false;
  }
  bool lock() override {
    note_("lock");
    return true;
  }
  bool unlock() override {
    note_("unlock");
    return true;
  }
  void initialize_repo_if_necessary() override {
    note_("initialize_repo");
    on_initialize_repo();
  }
  void initialize_unattended_upgrades_if_necessary() override {
    note_("initialize_upgrades");
    on_initialize_upgrades();
  }

 private:
  void note_(const std::string& call) const {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
  }

  mutable std::mutex mutex_;
  mutable std::vector<std::string> calls_;
};

class PackageMinderThread : public testing::Test {
 protected:
  void start(unsigned int interval_seconds) { worker.emplace(minder, interval_seconds); }
  void stop() { worker.reset(); }

  // The announcement comes from the constructing thread and may stand anywhere among the worker's records.
  std::vector<Captured_Record> records_of_the_worker() const {
    auto records = log.records();
    std::erase(records, STARTING_RECORD);
    return records;
  }

  Captured_Log log;
  Thread_Seams seams;
  std::shared_ptr<Stub_Package> package = std::make_shared<Stub_Package>();
  std::shared_ptr<Package_Minder> minder = std::make_shared<Package_Minder>(package);
  std::optional<Package_Minder_Thread> worker;
};

struct Given_Interval {
  unsigned int given;
  std::chrono::seconds waited;
};

class PackageMinderThreadGivenInterval : public PackageMinderThread,
                                         public testing::WithParamInterface<Given_Interval> {};
class PackageMinderThreadInterval : public PackageMinderThread {};
class PackageMinderThreadStop : public PackageMinderThread {};
class PackageMinderThreadFailure : public PackageMinderThread {};
class PackageMinderThreadDeathTest : public PackageMinderThread {};

TEST_F(PackageMinderThread, RunsTheFirstCycleAtOnceAndThenWaits) {
  start(AN_HOUR);
  log.wait_for(WAITING);

  EXPECT_THAT(package->calls(), ElementsAre("initialize_repo", "locked", "initialize_upgrades"));
}

TEST_F(PackageMinderThread, KeepsTheMinderForAsLongAsItLives) {
  start(AN_HOUR);
  EXPECT_EQ(minder.use_count(), 2);

  stop();
  EXPECT_EQ(minder.use_count(), 1);
}

TEST_F(PackageMinderThread, AnnouncesItselfOnlyAfterTheThreadHasBeenStarted) {
  seams.before_start = [this] { EXPECT_THAT(log.records(), IsEmpty()); };
  seams.at_start = [this] { log.wait_for(STARTING); };

  start(AN_HOUR);

  EXPECT_EQ(log.records().front(), STARTING_RECORD);
}

TEST_F(PackageMinderThread, AnnouncesItselfOnTheConstructingThread) {
  std::thread::id announcer;
  log.on_record([&announcer](const Captured_Record& record) {
    if (record == STARTING_RECORD) {
      announcer = std::this_thread::get_id();
    }
  });

  start(AN_HOUR);
  stop();

  EXPECT_EQ(announcer, std::this_thread::get_id());
}

TEST_F(PackageMinderThread, RunsBothStepsInEveryCycle) {
  start(NO_PAUSE);
  log.wait_for(WAITING, 3);
  stop();

  const auto calls = package->calls();
  ASSERT_THAT(calls, SizeIs(Ge(9U)));
  for (std::size_t first = 0; first < calls.size(); first += 3) {
    const std::vector<std::string> cycle(calls.begin() + static_cast<std::ptrdiff_t>(first),
                                         calls.begin() + static_cast<std::ptrdiff_t>(first + 3));
    EXPECT_THAT(cycle, ElementsAre("initialize_repo", "locked", "initialize_upgrades"));
  }
}

TEST_F(PackageMinderThread, CyclesWithoutAPauseWhenTheIntervalIsZero) {
  start(NO_PAUSE);
  log.wait_for(ACTIVE, 3);
  stop();

  const auto records = records_of_the_worker();
  ASSERT_THAT(records, SizeIs(Ge(7U)));
  for (std::size_t index = 0; index + 1 < records.size(); index += 2) {
    EXPECT_EQ(records[index], WAITING_RECORD);
    EXPECT_EQ(records[index + 1], ACTIVE_RECORD);
  }
  EXPECT_EQ(records.back(), STOPPED_RECORD);
}

TEST_F(PackageMinderThread, NeverRunsTwoCyclesAtOnce) {
  // With no pause between them every cycle takes longer than the interval.
  std::atomic<bool> in_a_cycle = false;
  std::atomic<bool> overlapped = false;
  std::mutex mutex;
  std::set<std::thread::id> threads;
  package->on_initialize_repo = [&] {
    overlapped = overlapped || in_a_cycle.exchange(true);
    const std::lock_guard lock(mutex);
    threads.insert(std::this_thread::get_id());
  };
  package->on_initialize_upgrades = [&] { in_a_cycle = false; };

  start(NO_PAUSE);
  log.wait_for(WAITING, 20);
  stop();

  EXPECT_FALSE(overlapped);
  EXPECT_THAT(threads, SizeIs(1));
  EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

TEST_P(PackageMinderThreadGivenInterval, IsCappedAtOneHourAndHasNoLowerBound) {
  const auto& [given, waited] = GetParam();
  const auto before = Clock::now();

  start(given);
  const auto deadline = seams.wait_for_timed_wait(1);

  EXPECT_THAT(deadline, AllOf(Ge(before + waited), Le(Clock::now() + waited)));
}

INSTANTIATE_TEST_SUITE_P(Seconds, PackageMinderThreadGivenInterval,
                         testing::Values(Given_Interval{0, 0s}, Given_Interval{1, 1s},
                                         Given_Interval{3599, 3599s}, Given_Interval{3600, 3600s},
                                         Given_Interval{3601, 3600s}, Given_Interval{7200, 3600s},
                                         Given_Interval{UINT_MAX, 3600s}),
                         [](const auto& info) { return std::to_string(info.param.given); });

TEST_F(PackageMinderThreadInterval, CountsFromTheEndOfTheCycle) {
  Clock::time_point end;
  package->on_initialize_upgrades = [&end] { end = Clock::now(); };

  start(AN_HOUR);

  EXPECT_GE(seams.wait_for_timed_wait(1), end + 3600s);
}

TEST_F(PackageMinderThreadInterval, IsWaitedOutToItsEndAfterASpuriousWakeUp) {
  seams.wake_up_spuriously_once();

  start(AN_HOUR);
  seams.wait_for_timed_wait(2);
  const auto deadlines = seams.deadlines();

  EXPECT_THAT(deadlines, SizeIs(2));
  EXPECT_EQ(deadlines[0], deadlines[1]) << "the deadline moved";
  EXPECT_THAT(records_of_the_worker(), ElementsAre(WAITING_RECORD));
}

TEST_F(PackageMinderThreadInterval, IsFollowedByTheNextCycle) {
  std::mutex mutex;
  std::vector<Clock::time_point> starts;
  package->on_initialize_repo = [&] {
    const std::lock_guard lock(mutex);
    starts.push_back(Clock::now());
  };

  start(1);
  log.wait_for(WAITING, 2);
  stop();

  ASSERT_THAT(starts, SizeIs(Ge(2U)));
  EXPECT_GE(starts[1] - starts[0], 1s);
}

TEST_F(PackageMinderThreadStop, EndsAWaitLongBeforeTheInterval) {
  start(AN_HOUR);
  const auto deadline = seams.wait_for_timed_wait(1);

  stop();

  EXPECT_LT(Clock::now(), deadline);
  EXPECT_THAT(records_of_the_worker(), ElementsAre(WAITING_RECORD, ACTIVE_RECORD, STOPPED_RECORD));
  EXPECT_THAT(package->calls(), ElementsAre("initialize_repo", "locked", "initialize_upgrades"));
}

TEST_F(PackageMinderThreadStop, LetsACycleInProgressRunToItsEnd) {
  std::latch cycle_began(1);
  std::latch told_to_stop(1);
  package->on_initialize_repo = [&] {
    cycle_began.count_down();
    told_to_stop.wait();
  };
  seams.before_join = [&told_to_stop] { told_to_stop.count_down(); };

  start(AN_HOUR);
  cycle_began.wait();
  stop();

  EXPECT_THAT(package->calls(), ElementsAre("initialize_repo", "locked", "initialize_upgrades"));
  EXPECT_THAT(records_of_the_worker(), ElementsAre(WAITING_RECORD, ACTIVE_RECORD, STOPPED_RECORD));
}

TEST_F(PackageMinderThreadStop, IsNotWaitedForWhenItCameDuringTheCycle) {
  std::latch cycle_began(1);
  std::latch told_to_stop(1);
  package->on_initialize_upgrades = [&] {
    cycle_began.count_down();
    told_to_stop.wait();
  };
  seams.before_join = [&told_to_stop] { told_to_stop.count_down(); };

  start(AN_HOUR);
  cycle_began.wait();
  stop();

  EXPECT_THAT(seams.deadlines(), IsEmpty());
}

TEST_F(PackageMinderThreadStop, YieldsNoCycleWhenItComesBeforeTheFirst) {
  std::latch told_to_stop(1);
  seams.at_start = [&told_to_stop] { told_to_stop.wait(); };
  seams.before_join = [&told_to_stop] { told_to_stop.count_down(); };

  start(NO_PAUSE);
  stop();

  EXPECT_THAT(package->calls(), IsEmpty());
  EXPECT_THAT(log.records(), ElementsAre(STARTING_RECORD, STOPPED_RECORD));
}

TEST_F(PackageMinderThreadStop, IsFoundActiveWithTheMutexHeldAndTheOtherRecordsWithout) {
  std::vector<std::pair<std::string, bool>> records;
  log.on_record([&](const Captured_Record& record) {
    if (record.message != STARTING) {
      records.emplace_back(record.message, seams.watched_mutex_is_held());
    }
  });
  seams.watch_mutex_of(&worker, sizeof(worker));

  start(AN_HOUR);
  seams.wait_for_timed_wait(1);
  stop();

  EXPECT_THAT(records,
              ElementsAre(std::pair(std::string(WAITING), false), std::pair(std::string(ACTIVE), true),
                          std::pair(std::string(STOPPED), false)));
}

TEST_F(PackageMinderThreadFailure, IsLoggedOnceInEveryCycleAndSkipsTheSecondStep) {
  package->on_initialize_repo = [] { throw std::runtime_error("x"); };

  start(NO_PAUSE);
  log.wait_for(WAITING, 3);
  stop();

  const auto records = records_of_the_worker();
  const Captured_Record failure{5, "Package_Minder_Thread", "Encountered error: x"};
  ASSERT_THAT(records, SizeIs(Ge(10U)));
  for (std::size_t index = 0; index + 1 < records.size(); index += 3) {
    EXPECT_EQ(records[index], failure);
    EXPECT_EQ(records[index + 1], WAITING_RECORD);
    EXPECT_EQ(records[index + 2], ACTIVE_RECORD);
  }
  EXPECT_EQ(records.back(), STOPPED_RECORD);
  EXPECT_THAT(package->calls(), Each("initialize_repo"));
}

TEST_F(PackageMinderThreadFailure, OfTheSecondStepIsLoggedToo) {
  package->on_initialize_upgrades = [] { throw std::logic_error("y"); };

  start(AN_HOUR);
  log.wait_for(WAITING);

  EXPECT_THAT(log.messages(5), ElementsAre("Encountered error: y"));
}

TEST_F(PackageMinderThreadFailure, IsFollowedByTheNormalWait) {
  const auto before = Clock::now();
  package->on_initialize_repo = [] { throw std::runtime_error("x"); };

  start(AN_HOUR);

  EXPECT_GE(seams.wait_for_timed_wait(1), before + 3600s);
}

TEST_F(PackageMinderThreadFailure, DoesNotKeepTheNextCycleFromSucceeding) {
  package->on_initialize_repo = [first = true]() mutable {
    if (std::exchange(first, false)) {
      throw std::runtime_error("x");
    }
  };

  start(NO_PAUSE);
  log.wait_for(WAITING, 2);
  stop();

  auto calls = package->calls();
  calls.resize(4);
  EXPECT_THAT(calls, ElementsAre("initialize_repo", "initialize_repo", "locked", "initialize_upgrades"));
  EXPECT_THAT(log.messages(5), ElementsAre("Encountered error: x"));
}

TEST_F(PackageMinderThreadFailure, IsLoggedWithTheMessageOfALibraryError) {
  package->on_initialize_upgrades = [] { throw_host_step_failed("Failed to start upgrade timer"); };

  start(AN_HOUR);
  log.wait_for(WAITING);

  EXPECT_THAT(log.messages(5), ElementsAre("Encountered error: Failed to start upgrade timer"));
}

TEST_F(PackageMinderThreadFailure, IsLoggedVerbatimWhateverItsTextIs) {
  package->on_initialize_upgrades = [] { throw std::runtime_error("{} {0} %s %1%"); };

  start(AN_HOUR);
  log.wait_for(WAITING);

  EXPECT_THAT(log.messages(5), ElementsAre("Encountered error: {} {0} %s %1%"));
}

TEST_F(PackageMinderThreadFailure, ToStartTheThreadLeavesTheConstructorAndNoRecord) {
  seams.before_start = [] {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  };

  EXPECT_THROW(start(AN_HOUR), std::system_error);

  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_EQ(minder.use_count(), 1);
}

TEST_F(PackageMinderThreadDeathTest, AnExceptionOfAnotherKindEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::latch cycle_began(1);
  package->on_initialize_repo = [&cycle_began] {
    cycle_began.count_down();
    throw 42;
  };

  const auto mind = [&] {
    start(AN_HOUR);
    cycle_began.wait();
    stop();
  };

  EXPECT_EXIT(mind(), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(PackageMinderThreadDeathTest, AMutexThatCannotBeLockedEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  seams.watch_mutex_of(&worker, sizeof(worker));
  seams.fail_locks_of_watched_mutex();

  const auto mind = [&] {
    start(AN_HOUR);
    log.wait_for(WAITING);
    stop();
  };

  EXPECT_EXIT(mind(), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
