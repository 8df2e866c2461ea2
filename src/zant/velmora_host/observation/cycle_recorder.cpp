#include <zant/velmora_host/observation/cycle_recorder.hpp>

#include <Poco/SHA2Engine.h>
#include <boost/algorithm/string/predicate.hpp>

#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

// A record is for a person to read; what is longer is in the log.
constexpr std::size_t MOST_ENTRIES = 100;
constexpr std::size_t LONGEST_TEXT = 2000;

constexpr const char* RELEASE_FAILED = "The package's hold could not be released";

template <typename Entry>
void add_bounded(std::vector<Entry>& entries, Entry entry) {
  if (entries.size() < MOST_ENTRIES) {
    entries.push_back(std::move(entry));
  }
}

std::string shortened(const std::string& text) {
  return text.size() <= LONGEST_TEXT ? text : text.substr(0, LONGEST_TEXT) + "[...]";
}

}  // namespace

Cycle_Recorder::Cycle_Recorder(std::string program, std::shared_ptr<velmora::Filesystem> filesystem,
                               const path& record_file, std::function<Clock::time_point()> now)
    : program_(std::move(program)),
      filesystem_(std::move(filesystem)),
      record_file_(record_file),
      now_(std::move(now)) {
  if (auto state = cycle_store::read(*filesystem_, record_file_)) {
    history_ = std::move(state->history);
  }
}

void Cycle_Recorder::begin_cycle() {
  const std::lock_guard lock(mutex_);
  in_cycle_ = true;
  ++history_.cycles;
  release_failed_ = false;
  noted_failure_.reset();
  touched_.clear();
  installed_.clear();
  record_ = {};
  record_.program = program_;
  record_.started = now_();
}

void Cycle_Recorder::end_cycle(const std::optional<Cycle_Record::Failure>& failure) {
  Cycle_State state;
  {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(in_cycle_, false)) {
      return;
    }
    record_.seconds = std::chrono::duration<double>(now_() - record_.started).count();
    for (const auto& [file, before] : touched_) {
      settle_file_(file, before);
    }
    settle_outcome_(failure);
    state = {record_, history_};
  }
  cycle_store::write(*filesystem_, record_file_, state);
  for (const auto& listener : listeners_) {
    listener(state);
  }
}

void Cycle_Recorder::note_command(const std::string& line, int exit_code, double seconds) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_) {
    add_bounded(record_.commands, Cycle_Record::Command{shortened(line), exit_code, seconds});
  }
}

void Cycle_Recorder::note_release(bool succeeded) {
  const std::lock_guard lock(mutex_);
  if (!in_cycle_) {
    return;
  }
  release_failed_ = !succeeded;
  if (succeeded) {
    ++history_.holds_released;
    note_repair(history_, HOLD_SUBJECT);
  }
}

void Cycle_Recorder::note_log(severity_level severity, const std::string& message) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_) {
    add_bounded(severity == severity_level::notice ? record_.actions : record_.problems, shortened(message));
  }
}

void Cycle_Recorder::note_failure(const Cycle_Record::Failure& failure) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_ && !noted_failure_) {
    noted_failure_ = failure;
  }
}

void Cycle_Recorder::note_touched(const path& file) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_ && !touched_.contains(file.string())) {
    touched_[file.string()] = digest_of_(file.string());
  }
}

void Cycle_Recorder::note_directory_touched(const path& directory) {
  const std::lock_guard lock(mutex_);
  for (const auto& known : history_.known_files) {
    if (boost::algorithm::starts_with(known.first, directory.string() + "/")) {
      note_touched(known.first);
    }
  }
}

void Cycle_Recorder::note_installed(const path& file) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_) {
    installed_.insert(file.string());
  }
}

void Cycle_Recorder::note_in_step(const path& file) {
  const std::lock_guard lock(mutex_);
  // It is said in every cycle; the file is read the first time only.
  if (in_cycle_ && !history_.known_files.contains(file.string())) {
    history_.known_files[file.string()] = digest_of_(file.string());
  }
}

std::string Cycle_Recorder::digest_of_(const std::string& file) {
  if (!filesystem_->exists(file)) {
    return "";
  }
  Poco::SHA2Engine engine;
  engine.update(filesystem_->read_file(file, velmora::Read_Flag::WHOLE_TEXT));
  return Poco::DigestEngine::digestToHex(engine.digest());
}

void Cycle_Recorder::settle_file_(const std::string& file, const std::string& before) {
  const std::string after = digest_of_(file);
  if (after.empty()) {
    if (!before.empty()) {
      add_bounded(record_.files, Cycle_Record::File{file, File_Outcome::REMOVED});
    }
    history_.known_files.erase(file);
  } else if (installed_.contains(file)) {
    settle_installed_file_(file, before, after);
    history_.known_files[file] = after;
  }
}

void Cycle_Recorder::settle_installed_file_(const std::string& file, const std::string& before,
                                            const std::string& after) {
  if (before == after) {
    return;
  }
  const auto known = history_.known_files.find(file);
  const char* outcome = File_Outcome::REPAIRED;
  if (known == history_.known_files.end()) {
    outcome = before.empty() ? File_Outcome::INSTALLED : File_Outcome::REPLACED;
  } else if (known->second == before) {
    outcome = File_Outcome::UPDATED;
  } else {
    ++history_.repairs[kind_of_file(file)];
    note_repair(history_, file);
  }
  add_bounded(record_.files, Cycle_Record::File{file, outcome});
}

void Cycle_Recorder::settle_outcome_(std::optional<Cycle_Record::Failure> failure) {
  if (!failure && release_failed_) {
    failure = {Failure_Kind::HOLD, RELEASE_FAILED};
  }
  if (!failure) {
    failure = noted_failure_;
  }
  if (failure) {
    failure->message = shortened(failure->message);
    ++history_.failures[failure->kind];
  } else {
    history_.last_success = now_();
  }
  record_.failure = std::move(failure);
}

}  // namespace zant::velmora_host
