#include <zant/velmora_host/observation/cycle_recorder.hpp>

#include <zant/velmora_host/base/printable.hpp>

#include <Poco/SHA2Engine.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

// A record is for a person to read; what is longer is in the log.
constexpr std::size_t MOST_ENTRIES = 100;
constexpr std::size_t LONGEST_TEXT = 2000;

template <typename Entry>
void add_bounded(std::vector<Entry>& entries, Entry entry) {
  if (entries.size() < MOST_ENTRIES) {
    entries.push_back(std::move(entry));
  }
}

using Keys = std::vector<std::string>;

// All of the first that are not in the second; both are sorted.
Keys without(const Keys& keys, const Keys& others) {
  Keys difference;
  std::set_difference(keys.begin(), keys.end(), others.begin(), others.end(), std::back_inserter(difference));
  return difference;
}

bool holds(const Keys& keys, const std::string& key) {
  return std::binary_search(keys.begin(), keys.end(), key);
}

auto find_failure(const Cycle_Record& record, Cycle_Step step) {
  return std::find_if(record.failures.begin(), record.failures.end(),
                      [step](const Cycle_Failure& failure) { return failure.step == step; });
}

}  // namespace

Cycle_Recorder::Cycle_Recorder(std::string program, std::shared_ptr<velmora::Filesystem> filesystem,
                               const Family& family, const path& record_file,
                               std::function<Clock::time_point()> now)
    : program_(std::move(program)),
      filesystem_(std::move(filesystem)),
      family_(family),
      record_file_(record_file),
      now_(std::move(now)) {
  log_.init_("Cycle_Recorder", "");
  if (auto state = cycle_store::read(*filesystem_, record_file_)) {
    history_ = std::move(state->history);
  }
}

void Cycle_Recorder::begin_cycle() {
  const std::lock_guard lock(mutex_);
  in_cycle_ = true;
  ++history_.cycles;
  touched_.clear();
  installed_.clear();
  record_ = {};
  record_.program = program_;
  record_.started = now_();
}

void Cycle_Recorder::end_cycle(const std::optional<Cycle_Failure>& thrown) {
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
    settle_outcome_(thrown);
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
    add_bounded(record_.commands, Cycle_Record::Command{shortened(line, LONGEST_TEXT), exit_code, seconds});
  }
}

void Cycle_Recorder::note_release() {
  const std::lock_guard lock(mutex_);
  if (in_cycle_) {
    ++history_.holds_released;
    note_repair(history_, HOLD_SUBJECT);
  }
}

void Cycle_Recorder::note_log(severity_level severity, const std::string& message) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_) {
    add_bounded(severity == severity_level::notice ? record_.actions : record_.problems,
                shortened(message, LONGEST_TEXT));
  }
}

void Cycle_Recorder::note_failure(const Cycle_Failure& failure) {
  const std::lock_guard lock(mutex_);
  if (in_cycle_ && find_failure(record_, failure.step) == record_.failures.end()) {
    record_.failures.push_back({failure.step, shortened(failure.message, LONGEST_TEXT)});
  }
}

void Cycle_Recorder::note_key_import(const Key_Import& import) {
  const std::lock_guard lock(mutex_);
  if (!in_cycle_) {
    return;
  }
  const Keys known = history_.keys ? history_.keys->trusted : import.before;
  const Keys imported = without(import.after, import.before);
  for (const auto& key : without(import.after, known)) {
    ZANT_LOG(log_, severity_level::notice)
        << (holds(imported, key)
                ? fmt::format(
                      "The repository's key address yielded a key that packages are checked with from "
                      "now on: {} ({})",
                      key, import.line)
                : fmt::format("Packages are checked with one more key, which something else imported: {}",
                              key));
  }
  for (const auto& key : without(known, import.after)) {
    ZANT_LOG(log_, severity_level::notice)
        << fmt::format("Packages are no longer checked with a key, which something else removed: {}", key);
  }
  keep_keys_(import);
}

void Cycle_Recorder::keep_keys_(const Key_Import& import) {
  const bool is_first = !history_.keys;
  const Keys known = is_first ? import.before : history_.keys->trusted;
  Key_History keys = history_.keys.value_or(Key_History{});
  keys.trusted = import.after;
  std::erase_if(keys.imported, [&import](const auto& key) { return !holds(import.after, key.key); });
  const Keys imported = without(import.after, import.before);
  for (const auto& key : without(import.after, known)) {
    if (holds(imported, key)) {
      keys.imported.push_back({key, now_(), is_first});
    }
  }
  history_.keys = keys;
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
  File_Outcome outcome = File_Outcome::REPAIRED;
  if (known == history_.known_files.end()) {
    outcome = before.empty() ? File_Outcome::INSTALLED : File_Outcome::REPLACED;
  } else if (known->second == before) {
    outcome = File_Outcome::UPDATED;
  } else {
    ++history_.repairs[family_.kind_of(file)];
    note_repair(history_, file);
  }
  add_bounded(record_.files, Cycle_Record::File{file, outcome});
}

void Cycle_Recorder::settle_outcome_(const std::optional<Cycle_Failure>& thrown) {
  if (thrown) {
    // It says more than what was noted of the same step.
    std::erase_if(record_.failures, [&thrown](const auto& noted) { return noted.step == thrown->step; });
    record_.failures.push_back({thrown->step, shortened(thrown->message, LONGEST_TEXT)});
  }
  for (const auto& failure : record_.failures) {
    ++history_.failures[failure.step];
  }
  if (record_.succeeded()) {
    history_.last_success = now_();
  }
}

}  // namespace zant::velmora_host
