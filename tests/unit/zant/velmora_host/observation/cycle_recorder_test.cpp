#include <zant/velmora_host/observation/cycle_recorder.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/observation/observed_filesystem.hpp>
#include <zant/velmora_host/observation/observed_package.hpp>

#include <support/captured_log.hpp>
#include <support/fake_filesystem.hpp>
#include <support/host_side/fake_host_filesystem.hpp>

#include <zant/velmora/package_minder/package_minder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/algorithm/string/replace.hpp>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace zant::velmora_host {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr const char* LIST = "/etc/apt/sources.list.d/zant-velmora.list";
constexpr const char* STAGED_LIST = "/state/staging/list";
constexpr const char* RECORD = "/state/last-cycle.json";

// Does in each step what a test wants.
class Stub_Package : public velmora::Package {
 public:
  bool locked() const override { return is_locked; }
  bool lock() override { return true; }
  bool unlock() override { return unlocks; }
  void initialize_repo_if_necessary() override { on_repository(); }
  void initialize_unattended_upgrades_if_necessary() override { on_upgrades(); }

  bool is_locked = false;
  bool unlocks = true;
  std::function<void()> on_repository = [] {};
  std::function<void()> on_upgrades = [] {};
};

class CycleRecorder : public ::testing::Test {
 protected:
  CycleRecorder() {
    files_->add_directory("/state");
    files_->add_directory("/etc/apt/sources.list.d");
    files_->add_file(STAGED_LIST, "wanted");
    start();
  }

  // As the program does when it is started, again too.
  void start() {
    recorder_ = std::make_shared<Cycle_Recorder>("run", files_, family_, RECORD, [this] { return now_; });
    observed_files_ = std::make_shared<Observed_Filesystem>(
        std::make_shared<test_support::Fake_Host_Filesystem>(files_), recorder_, "/state/staging");
    observed_package_ = std::make_shared<Observed_Package>(package_, recorder_, watch_);
    recorder_->add_listener([this](const Cycle_State& state) { heard_.push_back(state); });
  }

  void run_cycle() {
    velmora::Package_Minder minder(observed_package_);
    minder.update_package_lock_if_necessary();
    minder.initialize_unattended_upgrades_if_necessary();
  }

  // A cycle that keeps the source list as the library does.
  void run_keeping_cycle() {
    package_->on_repository = [this] {
      if (!observed_files_->files_equal(STAGED_LIST, LIST)) {
        observed_files_->copy_file(STAGED_LIST, LIST, velmora::Copy_Option::OVERWRITE_EXISTING);
      }
    };
    run_cycle();
  }

  Cycle_State state() const { return cycle_store::read(*files_, RECORD).value(); }

  std::vector<std::string> failures() const {
    std::vector<std::string> texts;
    for (const auto& failure : state().last_cycle.failures) {
      texts.push_back(std::string(to_string(failure.step)) + ": " + failure.message);
    }
    return texts;
  }

  std::vector<std::string> outcomes() const {
    std::vector<std::string> texts;
    for (const auto& file : state().last_cycle.files) {
      texts.push_back(std::string(to_string(file.outcome)) + " " + file.path);
    }
    return texts;
  }

  std::chrono::system_clock::time_point now_ = std::chrono::system_clock::from_time_t(1800000000);
  std::shared_ptr<velmora::test_support::Fake_Filesystem> files_ =
      std::make_shared<velmora::test_support::Fake_Filesystem>();
  std::shared_ptr<Stub_Package> package_ = std::make_shared<Stub_Package>();
  std::shared_ptr<Cycle_Watch> watch_ = std::make_shared<Cycle_Watch>(seconds(1), seconds(1));
  const APT_Family family_;
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Observed_Filesystem> observed_files_;
  std::shared_ptr<Observed_Package> observed_package_;
  std::vector<Cycle_State> heard_;
};

TEST_F(CycleRecorder, RecordsAQuietCycle) {
  package_->on_repository = [this] { now_ += seconds(2); };

  run_cycle();

  const auto seen = state();
  EXPECT_EQ(seen.last_cycle.program, "run");
  EXPECT_EQ(to_iso_time(seen.last_cycle.started), "2027-01-15T08:00:00Z");
  EXPECT_EQ(seen.last_cycle.seconds, 2.0);
  EXPECT_TRUE(seen.last_cycle.succeeded());
  EXPECT_EQ(seen.history.cycles, 1U);
  EXPECT_EQ(to_iso_time(seen.history.last_success.value()), "2027-01-15T08:00:02Z");
  EXPECT_EQ(heard_.size(), 1U);
}

// What an import makes of the keys of the host, in a cycle of its own.
class RecordedKeys : public CycleRecorder {
 protected:
  void import(const std::vector<std::string>& before, const std::vector<std::string>& after) {
    package_->on_repository = [=, this] {
      recorder_->note_key_import({"rpm --import https://repo.test/key", before, after});
    };
    run_cycle();
  }

  std::vector<std::string> imported() const {
    std::vector<std::string> texts;
    const auto keys = state().history.keys.value();
    for (const auto& key : keys.imported) {
      texts.push_back(key.key + " " + to_iso_time(key.time) + (key.is_first ? ", first" : ""));
    }
    return texts;
  }

  std::vector<std::string> new_ones() const {
    std::vector<std::string> keys;
    for (const auto& key : new_keys(state().history, now_)) {
      keys.push_back(key.key);
    }
    return keys;
  }

  std::vector<std::string> notices() const {
    return log_.messages(static_cast<int>(zant::logging::severity_level::notice));
  }

  velmora::test_support::Captured_Log log_;
};

TEST_F(RecordedKeys, AreThoseThatTheHostTrustsAfterTheImport) {
  import({"distribution"}, {"distribution", "vendor"});

  EXPECT_THAT(state().history.keys->trusted, ElementsAre("distribution", "vendor"));
  EXPECT_THAT(imported(), ElementsAre("vendor 2027-01-15T08:00:00Z, first"));
  EXPECT_THAT(new_ones(), IsEmpty()) << "a repository that has just been registered has no other key";
  EXPECT_THAT(notices(),
              ElementsAre("The repository's key address yielded a key that packages are checked with "
                          "from now on: vendor (rpm --import https://repo.test/key)"));
}

TEST_F(RecordedKeys, OfAHostInStepAreNotToldAgain) {
  import({"vendor"}, {"vendor"});
  import({"vendor"}, {"vendor"});

  EXPECT_THAT(notices(), IsEmpty());
  EXPECT_THAT(imported(), IsEmpty());
}

TEST_F(RecordedKeys, AreNewForAWeekWhenTheAddressYieldsAnotherOne) {
  import({}, {"vendor"});
  start();

  import({"vendor"}, {"foreign", "vendor"});

  EXPECT_THAT(imported(), ElementsAre("vendor 2027-01-15T08:00:00Z, first", "foreign 2027-01-15T08:00:00Z"));
  EXPECT_THAT(new_ones(), ElementsAre("foreign"));
  EXPECT_EQ(
      notices().back(),
      "The repository's key address yielded a key that packages are checked with from now on: foreign (rpm "
      "--import https://repo.test/key)");
  now_ += std::chrono::hours(24 * 7);
  EXPECT_THAT(new_ones(), IsEmpty());
}

TEST_F(RecordedKeys, ThatSomethingElseImportedOrRemovedAreTold) {
  import({"distribution", "vendor"}, {"distribution", "vendor"});

  import({"epel", "vendor"}, {"epel", "vendor"});

  EXPECT_THAT(
      notices(),
      ElementsAre("Packages are checked with one more key, which something else imported: epel",
                  "Packages are no longer checked with a key, which something else removed: distribution"));
  EXPECT_THAT(state().history.keys->trusted, ElementsAre("epel", "vendor"));
  EXPECT_THAT(imported(), IsEmpty());
}

TEST_F(RecordedKeys, ThatWereRemovedAndImportedAgainAreTheSame) {
  import({}, {"vendor"});
  now_ += seconds(1);

  import({}, {"vendor"});

  EXPECT_EQ(notices().size(), 1U) << "of the first import";
  EXPECT_THAT(imported(), ElementsAre("vendor 2027-01-15T08:00:00Z, first"));
}

TEST_F(RecordedKeys, AreToldOfWhenASecondOneOfTheSameNameComes) {
  import({"vendor"}, {"vendor"});

  import({"vendor"}, {"vendor", "vendor"});

  EXPECT_THAT(new_ones(), ElementsAre("vendor"));
}

TEST_F(RecordedKeys, AreNotKnownFromARecordOfAnEarlierVersion) {
  import({}, {"vendor"});
  std::string text = files_->read_file(RECORD, velmora::Read_Flag::WHOLE_TEXT);
  const auto begin = text.find("    \"keys\": {");
  text.erase(begin, text.find("    \"known_files\"") - begin);
  files_->add_file(RECORD, text);

  start();
  import({"vendor"}, {"vendor"});

  EXPECT_EQ(state().history.cycles, 2U) << "all else is known";
  EXPECT_THAT(imported(), IsEmpty());
}

TEST_F(CycleRecorder, RecordsTheCommandsItIsTold) {
  recorder_->note_command("before the cycle", 0, 1);
  package_->on_repository = [this] { recorder_->note_command("apt-get -qq update", 100, 0.5); };

  run_cycle();

  const auto commands = state().last_cycle.commands;
  ASSERT_EQ(commands.size(), 1U);
  EXPECT_EQ(commands[0].line, "apt-get -qq update");
  EXPECT_EQ(commands[0].exit_code, 100);
  EXPECT_EQ(commands[0].seconds, 0.5);
}

TEST_F(CycleRecorder, RecordsWhatWasLogged) {
  using zant::logging::severity_level;
  recorder_->note_log(severity_level::error, "before the cycle");
  package_->on_upgrades = [this] {
    recorder_->note_log(severity_level::notice, "done this");
    recorder_->note_log(severity_level::warning, "found that");
  };

  run_cycle();

  EXPECT_THAT(state().last_cycle.actions, ElementsAre("done this"));
  EXPECT_THAT(state().last_cycle.problems, ElementsAre("found that"));
}

TEST_F(CycleRecorder, RecordsTheStepThatThrew) {
  package_->on_repository = [] { throw std::runtime_error("no network"); };
  EXPECT_THROW(run_cycle(), std::runtime_error);
  EXPECT_THAT(failures(), ElementsAre("repository: no network"));

  package_->on_repository = [] {};
  package_->on_upgrades = [] { throw 7; };
  EXPECT_THROW(run_cycle(), int);
  EXPECT_THAT(failures(), ElementsAre("automatic_upgrades: Unknown error"));

  EXPECT_THAT(state().history.failures,
              ElementsAre(Pair(Cycle_Step::REPOSITORY, 1), Pair(Cycle_Step::UPGRADES, 1)));
  EXPECT_FALSE(state().history.last_success);
}

TEST_F(CycleRecorder, RecordsTheFirstFailureOfEachStepThatThrewNothing) {
  recorder_->note_failure({Cycle_Step::REPOSITORY, "before the cycle"});
  package_->on_upgrades = [this] {
    recorder_->note_failure({Cycle_Step::REPOSITORY, "no key"});
    recorder_->note_failure({Cycle_Step::REPOSITORY, "no list"});
    recorder_->note_failure({Cycle_Step::UPGRADES, "no timer"});
  };

  run_cycle();

  EXPECT_THAT(failures(), ElementsAre("repository: no key", "automatic_upgrades: no timer"));
  EXPECT_THAT(state().history.failures,
              ElementsAre(Pair(Cycle_Step::REPOSITORY, 1), Pair(Cycle_Step::UPGRADES, 1)));
  EXPECT_FALSE(state().last_cycle.succeeded());

  package_->on_upgrades = [] {};
  run_cycle();
  EXPECT_TRUE(state().last_cycle.succeeded());
}

TEST_F(CycleRecorder, TakesWhatAStepThrewForItsFailureInPlaceOfWhatWasNoted) {
  package_->on_upgrades = [this] {
    recorder_->note_failure({Cycle_Step::UPGRADES, "the timer could not be started"});
    throw std::runtime_error("Failed to start upgrade timer");
  };

  EXPECT_THROW(run_cycle(), std::runtime_error);

  EXPECT_THAT(failures(), ElementsAre("automatic_upgrades: Failed to start upgrade timer"));
  EXPECT_THAT(state().history.failures, ElementsAre(Pair(Cycle_Step::UPGRADES, 1)));
}

TEST_F(CycleRecorder, CountsAReleasedHold) {
  package_->is_locked = true;

  run_cycle();

  EXPECT_EQ(state().history.holds_released, 1U);
  EXPECT_TRUE(state().last_cycle.succeeded());
}

TEST_F(CycleRecorder, CountsNoHoldThatStays) {
  package_->is_locked = true;
  package_->unlocks = false;

  run_cycle();

  EXPECT_EQ(state().history.holds_released, 0U);
}

TEST_F(CycleRecorder, CallsTheFirstFileInstalled) {
  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("installed ") + LIST));
  EXPECT_THAT(state().history.repairs, IsEmpty());
}

TEST_F(CycleRecorder, CallsAFileThatIsNotFromHereReplaced) {
  files_->add_file(LIST, "somebody's");

  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("replaced ") + LIST));
}

TEST_F(CycleRecorder, CallsAFileThatSomebodyChangedRepaired) {
  run_keeping_cycle();
  files_->add_file(LIST, "edited");

  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("repaired ") + LIST));
  EXPECT_THAT(state().history.repairs, ElementsAre(Pair(File_Kind::SOURCE_LIST, 1)));
}

TEST_F(CycleRecorder, CallsARemovedFileRepairedToo) {
  run_keeping_cycle();
  files_->remove(boost::filesystem::path(LIST));

  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("repaired ") + LIST));
}

TEST_F(CycleRecorder, CallsANewContentForTheOldOneUpdated) {
  run_keeping_cycle();
  files_->add_file(STAGED_LIST, "other settings");

  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("updated ") + LIST));
  EXPECT_THAT(state().history.repairs, IsEmpty());
}

TEST_F(CycleRecorder, KnowsAFileFromHereThatItOnlyFoundInStep) {
  files_->add_file(LIST, "wanted");
  run_keeping_cycle();
  EXPECT_THAT(outcomes(), IsEmpty());
  files_->add_file(LIST, "edited");

  run_keeping_cycle();

  EXPECT_THAT(outcomes(), ElementsAre(std::string("repaired ") + LIST));
}

TEST_F(CycleRecorder, SeesDriftThroughTheReplacementOfAWholeDirectory) {
  const std::string directory = "/etc/systemd/system/apt-daily-upgrade.timer.d";
  const std::string drop_in = directory + "/apt-daily-upgrade.timer.on-calendar.conf";
  files_->add_file("/state/staging/calendar", "daily");
  const auto install = [&] {
    observed_files_->remove_all(directory);
    observed_files_->create_directories(directory);
    observed_files_->copy_file("/state/staging/calendar", drop_in, velmora::Copy_Option::OVERWRITE_EXISTING);
  };
  package_->on_upgrades = install;
  run_cycle();
  files_->add_file(drop_in, "weekly");

  run_cycle();

  EXPECT_THAT(outcomes(), ElementsAre("repaired " + drop_in));
  EXPECT_THAT(state().history.repairs, ElementsAre(Pair(File_Kind::TIMER, 1)));
}

TEST_F(CycleRecorder, RecordsAFileThatWasTakenOutAgain) {
  package_->on_repository = [this] {
    observed_files_->copy_file(STAGED_LIST, LIST, velmora::Copy_Option::OVERWRITE_EXISTING);
    observed_files_->remove(boost::filesystem::path(LIST));
  };
  run_cycle();

  EXPECT_THAT(outcomes(), IsEmpty());
  EXPECT_THAT(state().history.known_files, IsEmpty());
}

TEST_F(CycleRecorder, FindsWhatIsRepairedAgainAndAgain) {
  run_keeping_cycle();
  for (int time = 0; time < 3; ++time) {
    EXPECT_THAT(conflicts(state().history), IsEmpty());
    files_->add_file(LIST, "edited");
    run_keeping_cycle();
  }
  EXPECT_THAT(conflicts(state().history), ElementsAre(LIST));

  for (int time = 0; time < 10; ++time) {
    run_keeping_cycle();
  }
  EXPECT_THAT(conflicts(state().history), IsEmpty()) << "it is over";
}

TEST_F(CycleRecorder, GoesOnCountingAfterARestart) {
  run_keeping_cycle();
  start();
  files_->add_file(LIST, "edited");

  run_keeping_cycle();

  EXPECT_EQ(state().history.cycles, 2U);
  EXPECT_THAT(state().history.repairs, ElementsAre(Pair(File_Kind::SOURCE_LIST, 1)));
}

TEST_F(CycleRecorder, StartsAnewOverADamagedRecord) {
  files_->add_file(RECORD, "{\"last_cycle\": {}}");
  start();

  run_cycle();

  EXPECT_EQ(state().history.cycles, 1U);
}

TEST_F(CycleRecorder, StartsAnewOverATimeThatIsOutOfTheClocksRange) {
  run_cycle();
  const auto record = files_->contents(RECORD).value();
  ASSERT_THAT(record, HasSubstr("2027-01-15"));
  files_->add_file(RECORD, boost::algorithm::replace_all_copy(record, "2027-01-15", "9999-01-15"));
  start();

  run_cycle();

  EXPECT_EQ(state().history.cycles, 1U);
}

TEST_F(CycleRecorder, FailsNoCycleWhenItCannotWrite) {
  files_->fail(std::string("write_file ") + RECORD + " (0)");

  EXPECT_NO_THROW(run_cycle());
  EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(CycleRecorder, KeepsItsRecordShort) {
  package_->on_repository = [this] {
    for (int number = 0; number < 1000; ++number) {
      recorder_->note_log(zant::logging::severity_level::error, std::string(10000, 'x'));
    }
  };

  run_cycle();

  EXPECT_EQ(state().last_cycle.problems.size(), 100U);
  EXPECT_EQ(state().last_cycle.problems[0].size(), 2005U);
}

}  // namespace
}  // namespace zant::velmora_host
