#include <faults/road.hpp>
#include <faults/situation.hpp>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/log/core.hpp>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace zant::velmora_host::faults {
namespace {

constexpr std::size_t MOST_STORIES = 10;
constexpr std::uint64_t PAIRS_BY_DEFAULT = 1'000;

std::uint64_t number_from(const char* variable, std::uint64_t otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::stoull(text);
}

// Each kind of violation once, with how often it was seen.
class Stories {
 public:
  void play(const Situation& situation) {
    ++played_;
    if (const auto violation = violation_of(situation)) {
      ++violations_;
      const std::string kind = situation.stage->name + ": " + *violation;
      if (told_.size() < MOST_STORIES && !told_.contains(kind)) {
        const Situation story = shortest(situation);
        told_[kind] =
            fmt::format("{}\n  {}", violation_of(story).value_or("gone when played again"), describe(story));
      }
    }
  }

  void expect_none() const {
    fmt::print("{} situations played, {} violations\n", played_, violations_);
    for (const auto& [kind, story] : told_) {
      ADD_FAILURE() << story;
    }
    EXPECT_EQ(violations_, 0U);
  }

 private:
  std::uint64_t played_ = 0;
  std::uint64_t violations_ = 0;
  std::map<std::string, std::string> told_;
};

class Faults : public ::testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() { boost::log::core::get()->set_logging_enabled(false); }
  static void TearDownTestSuite() { boost::log::core::get()->set_logging_enabled(true); }

  const Road road_{GetParam() == "apt" ? make_apt_host() : make_dnf_host(), GetParam()};
};

TEST_P(Faults, OfNoneTheRoadIsPassedAndSucceeds) {
  for (const auto& stage : road_.stages()) {
    EXPECT_EQ(stage.outcome, stage.server_answers ? Outcome::SUCCEEDED : Outcome::FAILED) << stage.name;
    EXPECT_EQ(violation_of({&road_, &stage, {}, {}, Continuation::REPEAT}), std::nullopt) << stage.name;
    EXPECT_EQ(violation_of({&road_, &stage, {}, {}, Continuation::TURN}), std::nullopt) << stage.name;
  }
}

TEST_P(Faults, EachAloneAtEachCall) {
  Stories stories;
  for (const auto& situation : every_single_fault(road_)) {
    stories.play(situation);
  }
  stories.expect_none();
}

TEST_P(Faults, InPairsAtRandom) {
  const auto seed = number_from("PACKAGE_MINDER_FAULTS_SEED", std::random_device{}());
  const auto count = number_from("PACKAGE_MINDER_FAULTS_PAIRS", PAIRS_BY_DEFAULT);
  fmt::print("PACKAGE_MINDER_FAULTS_SEED={} plays these again\n", seed);
  std::mt19937_64 random(seed);
  Stories stories;
  for (std::uint64_t number = 0; number < count; ++number) {
    stories.play(random_pair(road_, random));
  }
  stories.expect_none();
}

INSTANTIATE_TEST_SUITE_P(Families, Faults, ::testing::Values("apt", "dnf"),
                         [](const auto& family) { return family.param; });

}  // namespace
}  // namespace zant::velmora_host::faults
