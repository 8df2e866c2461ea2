#include <zant/velmora_host/verdict/verdict_keeper.hpp>

#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/host_side/made_up_family.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using test_support::Parcel_Family;
using test_support::Parcel_Host;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int INFO = 2;
constexpr int NOTICE = 3;
constexpr int WARNING = 4;

Upgrade_Outlook fine(const Outlook_Question& /*question*/) {
  Upgrade_Outlook outlook;
  outlook.installed = "4";
  outlook.offered = "4";
  return outlook;
}

// Counts what the keeper has done with the cycles that it was told of.
class Counter {
 public:
  void count() {
    {
      const std::lock_guard lock(mutex_);
      ++count_;
    }
    changed_.notify_all();
  }
  void wait_for(int count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this, count] { return count_ >= count; });
  }
  int value() {
    const std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

// Tells when the keeper has looked whether anything has changed, which is the first thing it does.
class Looked_At_Family : public Parcel_Family {
 public:
  std::vector<boost::filesystem::path> outlook_inputs() const override {
    looks.count();
    return Parcel_Family::outlook_inputs();
  }

  std::optional<std::vector<Signing_Key>> read_installed_keys(const Host_Services& services) const override {
    Signing_Key key;
    key.fingerprint = services.system->run_command("parcel key", true).output;
    return std::vector{key};
  }

  mutable Counter looks;
};

class VerdictKeeper : public ::testing::Test {
 protected:
  VerdictKeeper() : settings_(host_.settings()) {
    host_.services.filesystem->create_directories(host_.state_directory());
    host_.system->on("parcel key", 0, "AA");
  }

  void start() {
    keeper_.emplace(
        Minded_Host{settings_, host_.services, family_, velmora::Init::systemd},
        [this](const Verdict& verdict, const Verdict_Keeper::Keys& keys) {
          keys_ = keys;
          last_ = verdict;
          verdicts_.count();
        },
        [this] { return now_.load(); }, pause_);
  }
  void restart() {
    keeper_.reset();
    start();
  }

  // A cycle after which a verdict is found.
  void cycle_with_verdict() {
    const int before = verdicts_.value();
    keeper_->note_cycle();
    verdicts_.wait_for(before + 1);
  }

  // The keeper has done with the one before when it looks for the next one.
  void cycle_without_verdict() {
    const int verdicts = verdicts_.value();
    for (int cycle = 0; cycle < 2; ++cycle) {
      const int looks = family_.looks.value();
      keeper_->note_cycle();
      family_.looks.wait_for(looks + 1);
    }
    EXPECT_EQ(verdicts_.value(), verdicts);
  }

  std::optional<Verdict> kept() {
    return verdict_store::read(*host_.services.filesystem, verdict_store::file_in(host_.state_directory()));
  }

  Parcel_Host host_;
  Looked_At_Family family_;
  const Settings settings_;
  std::atomic<Verdict_Keeper::Clock::time_point> now_{Verdict_Keeper::Clock::time_point()};
  std::chrono::milliseconds pause_{0};
  Counter verdicts_;
  Verdict last_;
  Verdict_Keeper::Keys keys_;
  std::optional<Verdict_Keeper> keeper_;
};

TEST_F(VerdictKeeper, FindsTheVerdictAfterTheFirstCycle) {
  start();
  EXPECT_FALSE(kept());

  cycle_with_verdict();

  EXPECT_EQ(last_.kind, Verdict_Kind::BLOCKED);
  ASSERT_TRUE(kept());
  EXPECT_EQ(kept()->kind, Verdict_Kind::BLOCKED);
  EXPECT_EQ(keys_.value().at(0).fingerprint, "AA");
}

TEST_F(VerdictKeeper, AsksNothingWhileNothingChanges) {
  family_.outlook = [](const Outlook_Question& question) {
    question.services.system->run_command("parcel next", true);
    return fine(question);
  };
  host_.system->on("parcel next", 0);
  start();
  cycle_with_verdict();

  cycle_without_verdict();
  cycle_without_verdict();

  EXPECT_THAT(host_.system->commands(), ElementsAre("parcel next", "parcel key"));
}

TEST_F(VerdictKeeper, AsksAgainWhenSomethingHasChanged) {
  start();
  cycle_with_verdict();
  host_.write("/etc/parcel/more.conf", "glue = no\n");

  cycle_with_verdict();

  EXPECT_EQ(verdicts_.value(), 2);
}

TEST_F(VerdictKeeper, DoesNotAskAllTheTimeWhereSomethingChangesAllTheTime) {
  family_.outlook = [this](const Outlook_Question& question) {
    now_ = now_.load() + std::chrono::seconds(2);
    return fine(question);
  };
  start();
  cycle_with_verdict();
  now_ = Verdict_Keeper::Clock::time_point(std::chrono::seconds(39));
  host_.write("/etc/parcel/more.conf", "glue = no\n");
  cycle_without_verdict();

  now_ = Verdict_Keeper::Clock::time_point(std::chrono::seconds(40));
  cycle_with_verdict();

  EXPECT_EQ(verdicts_.value(), 2);
}

TEST_F(VerdictKeeper, AsksAgainAfterTheInterval) {
  start();
  cycle_with_verdict();
  now_ = now_.load() + std::chrono::seconds(21599);
  cycle_without_verdict();

  now_ = now_.load() + std::chrono::seconds(1);
  cycle_with_verdict();

  EXPECT_EQ(verdicts_.value(), 2);
}

TEST_F(VerdictKeeper, RemembersAcrossRestarts) {
  start();
  cycle_with_verdict();
  const auto since = kept()->history.offered->since;

  restart();
  cycle_with_verdict();

  EXPECT_EQ(kept()->history.offered->since, since);
}

TEST_F(VerdictKeeper, LogsTheWorseOnceAndTheBetterOnceAcrossRestarts) {
  start();
  cycle_with_verdict();
  restart();
  cycle_with_verdict();
  EXPECT_THAT(
      host_.log.messages(WARNING),
      ElementsAre("Verdict on the upgrades: blocked: zant-velmora 3, 4 is offered: The parcel is glued "
                  "[parcel.glued]"));
  EXPECT_THAT(host_.log.messages(NOTICE), IsEmpty());

  keeper_.reset();
  family_.outlook = fine;
  start();
  cycle_with_verdict();
  restart();
  cycle_with_verdict();

  EXPECT_EQ(host_.log.messages(WARNING).size(), 1U);
  EXPECT_THAT(host_.log.messages(NOTICE), ElementsAre("Verdict on the upgrades: up to date: zant-velmora 4"));
}

TEST_F(VerdictKeeper, LogsAFurtherCauseAndNotThatOneIsGone) {
  std::atomic<int> causes = 1;
  family_.outlook = [&causes](const Outlook_Question& question) {
    auto outlook = Parcel_Family::glued(question);
    if (causes == 2) {
      outlook.causes.push_back({Cause_Effect::BLOCKS, "parcel.sealed", "Sealed", "seen", "unseal"});
    }
    return outlook;
  };
  start();
  cycle_with_verdict();
  for (const int count : {2, 1}) {
    causes = count;
    restart();
    cycle_with_verdict();
  }
  keeper_.reset();

  EXPECT_THAT(
      host_.log.messages(WARNING),
      ElementsAre("Verdict on the upgrades: blocked: zant-velmora 3, 4 is offered: The parcel is glued "
                  "[parcel.glued]",
                  "Verdict on the upgrades: blocked: zant-velmora 3, 4 is offered: The parcel is glued "
                  "[parcel.glued, parcel.sealed]"));
}

TEST_F(VerdictKeeper, SaysNothingLoudOfAVersionThatWaits) {
  family_.outlook = fine;
  start();
  cycle_with_verdict();
  keeper_.reset();
  family_.outlook = [](const Outlook_Question& question) {
    auto outlook = Parcel_Family::glued(question);
    outlook.causes.clear();
    return outlook;
  };
  start();
  cycle_with_verdict();
  keeper_.reset();

  EXPECT_THAT(host_.log.messages(WARNING), IsEmpty());
  EXPECT_THAT(host_.log.messages(NOTICE), IsEmpty());
  EXPECT_EQ(host_.log.messages(INFO).size(), 2U);
}

TEST_F(VerdictKeeper, IsStoppedInTheMiddleOfAQuestion) {
  Counter questions;
  family_.outlook = [&questions](const Outlook_Question& question) {
    questions.count();
    // As a command that does not end until it is given up.
    while (question.services.system->run_command("parcel next", true).exit_code == 0) {
    }
    return fine(question);
  };
  host_.system->on("parcel next", 0);
  start();
  keeper_->note_cycle();
  questions.wait_for(1);

  keeper_.reset();

  EXPECT_FALSE(kept());
  EXPECT_EQ(verdicts_.value(), 0);
  EXPECT_THAT(host_.log.messages(WARNING), IsEmpty());
}

TEST_F(VerdictKeeper, AsksNothingWhenItIsStoppedAfterTheCycle) {
  pause_ = std::chrono::hours(1);
  start();
  keeper_->note_cycle();

  keeper_.reset();

  EXPECT_EQ(family_.looks.value(), 0);
  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

TEST_F(VerdictKeeper, GoesOnAfterAQuestionThatFails) {
  std::atomic<bool> fails = true;
  family_.outlook = [&fails](const Outlook_Question& question) {
    return fails ? throw std::runtime_error("no parcel") : fine(question);
  };
  start();
  cycle_with_verdict();
  EXPECT_EQ(last_.outlook.causes.at(0).code, "tools.failed");

  fails = false;
  host_.write("/etc/parcel/more.conf", "");
  cycle_with_verdict();

  EXPECT_EQ(last_.kind, Verdict_Kind::UP_TO_DATE);
}

TEST_F(VerdictKeeper, MarksItsOwnThread) {
  std::atomic<bool> is_marked = false;
  family_.outlook = [&is_marked](const Outlook_Question& question) {
    is_marked = Verdict_Keeper::is_this_thread();
    return fine(question);
  };
  start();
  cycle_with_verdict();

  EXPECT_TRUE(is_marked);
  EXPECT_FALSE(Verdict_Keeper::is_this_thread());
}

}  // namespace
}  // namespace zant::velmora_host
