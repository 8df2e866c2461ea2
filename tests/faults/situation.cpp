#include <faults/situation.hpp>

#include <zant/velmora_host/minding/unfinished_work.hpp>
#include <zant/velmora_host/services/file_service.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zant::velmora_host::faults {
namespace {

using Entries = Simulated_Disk::Entries;

const std::string JOURNAL = STATE_DIRECTORY + "/" + Unfinished_Work::FILE;
const std::string BACKUPS = "/etc/apt/apt.conf.d/.zant-backups";

class Violation : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

bool is_below(const std::string& path, const std::string& directory) {
  return path.size() > directory.size() && path[directory.size()] == '/' && path.starts_with(directory);
}

// DNF's own tool leaves an option without a value when a hold is released.
std::string_view without_empty_option(std::string_view text) {
  static constexpr std::string_view OPTION = "exclude = \n";
  return text.ends_with(OPTION) ? text.substr(0, text.size() - OPTION.size()) : text;
}

bool is_temporary(const std::string& path) {
  return path.ends_with(File_Service::TEMPORARY_EXTENSION);
}

bool is_of_state_directory(const std::string& path) {
  return path == STATE_DIRECTORY || is_below(path, STATE_DIRECTORY);
}

bool is_same(const Simulated_Disk::Entry& first, const Simulated_Disk::Entry& second) {
  return first.has_value() == second.has_value() &&
         (!first || without_empty_option(*first) == without_empty_option(*second));
}

const std::string& text_of(const Simulated_Disk::Entry& entry) {
  static const std::string DIRECTORY = "(a directory)";
  return entry ? *entry : DIRECTORY;
}

// Of the host, without what is in the state directory.
std::string first_difference(const Entries& expected, const Entries& actual) {
  for (const auto& [path, entry] : expected) {
    const auto found = actual.find(path);
    if (is_of_state_directory(path)) {
      continue;
    }
    if (found == actual.end()) {
      return path + " is missing";
    }
    if (!is_same(found->second, entry)) {
      return fmt::format("{} is \"{}\" and not \"{}\"", path, text_of(found->second), text_of(entry));
    }
  }
  for (const auto& [path, entry] : actual) {
    if (!is_of_state_directory(path) && !expected.contains(path) && !is_temporary(path)) {
      return path + " is there";
    }
  }
  return "";
}

class Play {
 public:
  explicit Play(const Situation& situation)
      : road_(*situation.road), stage_(*situation.stage), host_(road_.host()) {
    if (situation.in_first.size() == 1) {
      meet_(situation.in_first.front());
    } else {
      run_first_(situation.in_first);
    }
    if (!situation.in_second.empty()) {
      run_(stage_.work, situation.in_second);
    }
  }

  // When the faults are over.
  void go_on(Continuation continuation) {
    if (continuation == Continuation::REPEAT) {
      run_(stage_.work, {});
      require_success_();
    } else if (stage_.work == Work::PURGE || stage_.work == Work::PURGE_OF_UPGRADES) {
      run_(Work::CYCLE, {});
      require_success_();
    }
    run_(Work::PURGE, {});
    require_success_();
  }

 private:
  void run_first_(const std::vector<Planned_Fault>& faults) {
    host_.restore(stage_.before);
    host_.set_server(stage_.server_answers);
    run_(stage_.work, faults);
    host_.set_server(true);
  }

  void meet_(const Planned_Fault& fault) {
    const std::pair key(fault.call, fault.fault);
    const auto known = stage_.known_beginnings.find(key);
    if (known != stage_.known_beginnings.end()) {
      host_.restore(known->second);
      return;
    }
    run_first_({fault});
    stage_.known_beginnings.emplace(key, host_.state());
  }

  void run_(Work work, const std::vector<Planned_Fault>& faults) {
    host_.plan().begin(faults);
    is_undisturbed_ = faults.empty();
    work_ = work;
    outcome_ = road_.work(work, *stage_.settings);
    require_(outcome_ != Outcome::REFUSED, "it is refused");
    require_whole_files_();
    require_files_of_the_host_();
    if (outcome_ == Outcome::SUCCEEDED) {
      require_order_();
    }
  }

  static void require_(bool holds, const char* what) {
    if (!holds) {
      throw Violation(what);
    }
  }

  void require_success_() const {
    require_(outcome_ == Outcome::SUCCEEDED, "the first work without a fault does not succeed");
  }

  // Absent, as before, as after, as set up, or as the host's own.
  void require_whole_files_() const {
    for (const auto& [path, entry] : host_.disk().entries()) {
      if (!entry || is_below(path, STATE_DIRECTORY) || is_temporary(path) || path.starts_with(BACKUPS)) {
        continue;
      }
      const auto is_at = [&path, &entry](const Host_State& state) {
        const auto found = state.disk.find(path);
        return found != state.disk.end() && is_same(found->second, entry);
      };
      if (!is_at(stage_.after) && !is_at(stage_.before) && !is_at(*stage_.fresh) && !is_at(road_.set_up()) &&
          !entry->ends_with("exclude = *\n")) {
        throw Violation(path + " is torn");
      }
    }
  }

  void require_files_of_the_host_() const {
    const Entries& disk = host_.disk().entries();
    const auto is_at = [&disk](const std::string& path, const Simulated_Disk::Entry& entry) {
      const auto found = disk.find(path);
      return found != disk.end() && is_same(found->second, entry);
    };
    for (const auto& [path, entry] : stage_.fresh->disk) {
      if (entry && !is_below(path, STATE_DIRECTORY) && !is_at(path, entry) &&
          !is_at(BACKUPS + path.substr(path.rfind('/')), entry)) {
        throw Violation(path + " is lost");
      }
    }
  }

  void require_order_() const {
    switch (work_) {
      case Work::PURGE:
        return require_purged_();
      case Work::HOLD:
      case Work::RELEASE:
        return require_(is_held_() == (work_ == Work::HOLD), "the hold is not as it was said");
      case Work::CYCLE:
      case Work::PURGE_OF_UPGRADES:
        break;
    }
    // After a purge that is followed by a cycle, all is as it is set up for the first time.
    const bool is_of_stage = work_ == stage_.work;
    require_as_(is_of_stage ? stage_.after : road_.set_up());
    if (is_undisturbed_) {
      require_nothing_left_();
    }
  }

  void require_as_(const Host_State& expected) const {
    const std::string difference = first_difference(expected.disk, host_.disk().entries());
    if (!difference.empty()) {
      throw Violation("it is said to be done, and " + difference);
    }
    require_(host_.tools().loaded_drop_ins == expected.tools.loaded_drop_ins,
             "it is said to be done, and systemd has another schedule");
    require_(is_same_apart_from_power_cuts_(expected.tools),
             "it is said to be done, and the tools know of something else");
  }

  // What starts with the host, or does not, stays so unless upgrades are wanted.
  bool is_same_apart_from_power_cuts_(Tool_State expected) const {
    if (work_ == Work::PURGE_OF_UPGRADES || !stage_.settings->automatic_upgrades()) {
      expected.timer_runs = host_.tools().timer_runs;
      expected.upgrade_service_runs = host_.tools().upgrade_service_runs;
    }
    return host_.tools() == expected;
  }

  void require_purged_() const {
    const std::string difference = first_difference(stage_.fresh->disk, host_.disk().entries());
    if (!difference.empty()) {
      throw Violation("it is said to be undone, and " + difference);
    }
    require_(host_.tools().loaded_drop_ins.empty(), "it is said to be undone, and systemd has our schedule");
    require_(!is_held_(), "it is said to be undone, and the package is held");
    for (const auto& [path, text] : host_.disk().entries()) {
      if (is_temporary(path) || (is_below(path, STATE_DIRECTORY) && !path.starts_with(STAGING_DIRECTORY))) {
        throw Violation("it is said to be undone, and " + path + " is there");
      }
    }
  }

  void require_nothing_left_() const {
    for (const auto& [path, text] : host_.disk().entries()) {
      if (is_temporary(path)) {
        throw Violation(path + " is left");
      }
      require_(path != JOURNAL, "finished work is noted as unfinished");
    }
  }

  bool is_held_() const {
    return host_.tools().is_held ||
           host_.disk().text_of("/etc/yum.repos.d/quorvane.repo").find("exclude = *") != std::string::npos;
  }

  const Road& road_;
  const Stage& stage_;
  Simulated_Host& host_;
  bool is_undisturbed_ = true;
  Work work_ = Work::CYCLE;
  Outcome outcome_ = Outcome::FAILED;
};

template <typename Work>
std::optional<std::string> violation_in(const Work& work) {
  try {
    work();
    return std::nullopt;
  } catch (const Violation& violation) {
    return violation.what();
  }
}

template <typename Value>
const Value& one_of(const std::vector<Value>& values, std::mt19937_64& random) {
  return values[random() % values.size()];
}

Planned_Fault random_fault(const Stage& stage, std::mt19937_64& random) {
  const std::size_t call = random() % stage.calls.size();
  return {call, one_of(faults_of(stage.calls[call].kind), random)};
}

// Without one of the faults.
std::vector<Situation> shorter(const Situation& situation) {
  std::vector<Situation> all;
  for (const auto faults : {&Situation::in_first, &Situation::in_second}) {
    for (std::size_t index = 0; index < (situation.*faults).size(); ++index) {
      Situation one = situation;
      (one.*faults).erase((one.*faults).begin() + static_cast<std::ptrdiff_t>(index));
      all.push_back(std::move(one));
    }
  }
  return all;
}

std::string describe(const char* process, const std::vector<Planned_Fault>& faults, const Stage& stage) {
  std::string text;
  for (const auto& [call, fault] : faults) {
    const std::string name = call < stage.calls.size() ? stage.calls[call].text : "a later call";
    text += fmt::format("  {}, call {} of {} \"{}\": {}\n", process, call, stage.calls.size(), name,
                        to_string(fault));
  }
  return text;
}

}  // namespace

std::optional<std::string> violation_of(const Situation& situation) {
  std::optional<Play> play;
  if (auto violation = violation_in([&] { play.emplace(situation); })) {
    return violation;
  }
  const char* const then = situation.continuation == Continuation::REPEAT ? "repeat " : "turn ";
  const auto [known, is_new] =
      situation.stage->known_ends.try_emplace(then + situation.road->host().text_of_state());
  if (is_new) {
    known->second = violation_in([&] { play->go_on(situation.continuation); });
  }
  return known->second;
}

std::vector<Situation> every_single_fault(const Road& road) {
  std::vector<Situation> all;
  for (const auto& stage : road.stages()) {
    for (std::size_t call = 0; call < stage.calls.size(); ++call) {
      for (const Fault fault : faults_of(stage.calls[call].kind)) {
        for (const auto continuation : {Continuation::REPEAT, Continuation::TURN}) {
          all.push_back({&road, &stage, {{call, fault}}, {}, continuation});
        }
      }
    }
  }
  return all;
}

Situation random_pair(const Road& road, std::mt19937_64& random) {
  const Stage& stage = one_of(road.stages(), random);
  const auto continuation = random() % 2 == 0 ? Continuation::REPEAT : Continuation::TURN;
  const auto first = random_fault(stage, random);
  const auto second = random_fault(stage, random);
  if (random() % 2 == 0) {
    return {&road, &stage, {first, second}, {}, continuation};
  }
  return {&road, &stage, {first}, {second}, continuation};
}

Situation shortest(const Situation& situation) {
  for (const auto& one : shorter(situation)) {
    if (violation_of(one)) {
      return shortest(one);
    }
  }
  return situation;
}

std::string describe(const Situation& situation) {
  const Stage& stage = *situation.stage;
  return fmt::format("{}\n{}{}  then {}\n", stage.name, describe("first process", situation.in_first, stage),
                     describe("second process", situation.in_second, stage),
                     situation.continuation == Continuation::REPEAT ? "the same again, and a purge"
                                                                    : "a purge, or a cycle after a purge");
}

}  // namespace zant::velmora_host::faults
