#include <zant/velmora_host/observation/cycle_record.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>

namespace zant::velmora_host {
namespace {

// Two repairs can be one mistake and its undo; three mean a conflict.
constexpr std::ptrdiff_t CONFLICT_REPAIRS = 3;
constexpr std::uint64_t RECENT_CYCLES = 10;

bool is_recent(std::uint64_t cycle, const Cycle_History& history) {
  return cycle + RECENT_CYCLES > history.cycles;
}

}  // namespace

std::vector<std::string> conflicts(const Cycle_History& history) {
  std::vector<std::string> subjects;
  for (const auto& [subject, cycles] : history.recent_repairs) {
    const auto recent = std::count_if(cycles.begin(), cycles.end(),
                                      [&history](std::uint64_t cycle) { return is_recent(cycle, history); });
    if (recent >= CONFLICT_REPAIRS) {
      subjects.push_back(subject);
    }
  }
  return subjects;
}

void note_repair(Cycle_History& history, const std::string& subject) {
  auto& cycles = history.recent_repairs[subject];
  std::erase_if(cycles, [&history](std::uint64_t cycle) { return !is_recent(cycle, history); });
  cycles.push_back(history.cycles);
}

std::string kind_of_file(const std::string& path) {
  using boost::algorithm::starts_with;
  if (path == velmora::APT_Constants::REPO_KEYRING_PATH) {
    return "keyring";
  }
  if (path == velmora::APT_Constants::SOURCE_LIST_PATH) {
    return "source_list";
  }
  if (path == velmora::DNF_Constants::REPO_FILE_PATH) {
    return "repository_file";
  }
  if (starts_with(path, std::string(velmora::APT_Constants::APT_GLOBAL_CONFIG_DIR) + "/")) {
    return "upgrade_configuration";
  }
  const bool is_drop_in = starts_with(path, velmora::APT_Constants::TIMER_OVERRIDE_DIR + "/") ||
                          starts_with(path, velmora::DNF_Constants::TIMER_OVERRIDE_DIR + "/");
  return is_drop_in ? "timer" : "other";
}

std::string to_iso_time(std::chrono::system_clock::time_point time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

}  // namespace zant::velmora_host
