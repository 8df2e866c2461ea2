#include <zant/velmora_host/observation/installation_watch.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <vector>

namespace zant::velmora_host {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

// What the listener was told, for a thread that waits for it.
class Told {
 public:
  Installation_Watch::Listener listener() {
    return [this](const std::optional<Stalled_Installation>& stalled) {
      const std::lock_guard lock(mutex_);
      all_.push_back(stalled);
      has_more_.notify_all();
    };
  }

  std::optional<Stalled_Installation> wait_for(std::size_t count) {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(has_more_.wait_for(lock, minutes(1), [&] { return all_.size() >= count; }));
    return all_.at(count - 1);
  }

  std::size_t count() {
    const std::lock_guard lock(mutex_);
    return all_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable has_more_;
  std::vector<std::optional<Stalled_Installation>> all_;
};

TEST(InstallationWatch, TellsOnceOfAnInstallationThatLeavesNoTrace) {
  Told told;
  const auto begin = std::chrono::system_clock::now();
  {
    Installation_Watch watch(
        "apt-get install x", [] { return "the same"; }, told.listener(), milliseconds(60));
    const auto stalled = told.wait_for(1);
    ASSERT_TRUE(stalled);
    EXPECT_EQ(stalled->command, "apt-get install x");
    EXPECT_GE(stalled->since, begin - milliseconds(1));
    EXPECT_LE(stalled->since, std::chrono::system_clock::now() - milliseconds(59));
  }
  EXPECT_EQ(told.count(), 2U);
  EXPECT_EQ(told.wait_for(2), std::nullopt) << "it has ended";
}

TEST(InstallationWatch, TellsThatItGetsOnAgain) {
  Told told;
  std::atomic<int> progress = 0;
  Installation_Watch watch(
      "x", [&] { return std::to_string(progress); }, told.listener(), milliseconds(30));
  EXPECT_TRUE(told.wait_for(1));
  ++progress;
  EXPECT_FALSE(told.wait_for(2));
  EXPECT_TRUE(told.wait_for(3));
}

TEST(InstallationWatch, SaysNothingOfOneThatLeavesTraces) {
  Told told;
  std::atomic<int> looks = 0;
  std::promise<void> enough;
  {
    Installation_Watch watch(
        "x",
        [&] {
          // Three times as often as is needed to tell of one without traces.
          if (++looks == 36) {
            enough.set_value();
          }
          return std::to_string(looks);
        },
        told.listener(), minutes(1) / 1000);
    enough.get_future().wait();
  }
  EXPECT_EQ(told.count(), 0U);
}

TEST(InstallationWatch, LooksForNoTraceOfAnInstallationThatIsDoneSoon) {
  Told told;
  {
    Installation_Watch watch(
        "x",
        [] {
          ADD_FAILURE();
          return "";
        },
        told.listener());
  }
  EXPECT_EQ(told.count(), 0U);
}

TEST(InstallationWatch, GoesOnWhenATraceOrTheListenerFails) {
  Told told;
  std::atomic<int> looks = 0;
  {
    Installation_Watch watch(
        "x",
        [&]() -> std::string {
          if (++looks == 1) {
            throw std::runtime_error("no trace");
          }
          return "the same";
        },
        [&, listener = told.listener()](const auto& stalled) {
          listener(stalled);
          throw std::runtime_error("nobody listens");
        },
        milliseconds(30));
    EXPECT_TRUE(told.wait_for(1));
  }
  EXPECT_EQ(told.count(), 2U);
}

}  // namespace
}  // namespace zant::velmora_host
