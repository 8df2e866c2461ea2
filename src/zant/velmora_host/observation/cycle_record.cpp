#include <zant/velmora_host/observation/cycle_record.hpp>

#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/printable.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace zant::velmora_host {
namespace {

constexpr Enum_Names<File_Outcome, 5> OUTCOME_NAMES = {{
    {File_Outcome::INSTALLED, "installed"},
    {File_Outcome::REPLACED, "replaced"},
    {File_Outcome::UPDATED, "updated"},
    {File_Outcome::REPAIRED, "repaired"},
    {File_Outcome::REMOVED, "removed"},
}};

// Two repairs can be one mistake and its undo; three mean a conflict.
constexpr std::ptrdiff_t CONFLICTING_REPAIRS = 3;
constexpr std::uint64_t RECENT_CYCLES = 10;

// Long enough for a person to hear of it.
constexpr auto KEY_IS_NEW = std::chrono::hours(24 * 7);

bool is_recent(std::uint64_t cycle, const Cycle_History& history) {
  return cycle + RECENT_CYCLES > history.cycles;
}

}  // namespace

const char* to_string(File_Outcome outcome) {
  return name_of(OUTCOME_NAMES, outcome);
}

std::optional<File_Outcome> file_outcome_from(std::string_view name) {
  return value_of(OUTCOME_NAMES, name);
}

std::vector<std::string> conflicts(const Cycle_History& history) {
  std::vector<std::string> subjects;
  for (const auto& [subject, cycles] : history.recent_repairs) {
    const auto recent = std::count_if(cycles.begin(), cycles.end(),
                                      [&history](std::uint64_t cycle) { return is_recent(cycle, history); });
    if (recent >= CONFLICTING_REPAIRS) {
      subjects.push_back(subject);
    }
  }
  return subjects;
}

std::vector<Imported_Key> new_keys(const Cycle_History& history, std::chrono::system_clock::time_point now) {
  std::vector<Imported_Key> keys;
  if (history.keys) {
    std::copy_if(history.keys->imported.begin(), history.keys->imported.end(), std::back_inserter(keys),
                 [now](const Imported_Key& key) { return !key.is_first && now - key.time < KEY_IS_NEW; });
  }
  return keys;
}

void note_repair(Cycle_History& history, const std::string& subject) {
  auto& cycles = history.recent_repairs[subject];
  std::erase_if(cycles, [&history](std::uint64_t cycle) { return !is_recent(cycle, history); });
  cycles.push_back(history.cycles);
}

std::string describe(const Cycle_Record& record) {
  const std::string when =
      fmt::format("Last cycle {}, {:.1f} s: ", to_iso_time(record.started), record.seconds);
  if (!record.succeeded()) {
    return when + "failed, " + printable(record.failures.front().message);
  }
  const std::size_t changes = std::max(record.actions.size(), record.files.size());
  if (changes == 0) {
    return when + "everything in step";
  }
  const std::string& first = record.actions.empty() ? record.files.front().path : record.actions.front();
  return when + fmt::format("{} change{}, first: {}", changes, changes == 1 ? "" : "s", printable(first));
}

}  // namespace zant::velmora_host
