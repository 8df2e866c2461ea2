#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What became of a file in a cycle.
namespace File_Outcome {
inline constexpr const char* INSTALLED = "installed";  ///< there was none
inline constexpr const char* REPLACED = "replaced";    ///< there was one that is not from here
inline constexpr const char* UPDATED = "updated";      ///< the one installed from here was out of date
inline constexpr const char* REPAIRED = "repaired";    ///< somebody had changed or removed the one from here
inline constexpr const char* REMOVED = "removed";
}  // namespace File_Outcome

/// Which part of a cycle failed.
namespace Failure_Kind {
inline constexpr const char* REPOSITORY = "repository";
inline constexpr const char* HOLD = "hold";
inline constexpr const char* UPGRADES = "automatic_upgrades";
}  // namespace Failure_Kind

/// One cycle, from its first step to its last.
struct Cycle_Record {
  struct Command {
    std::string line;
    int exit_code = 0;
    double seconds = 0;
  };
  struct File {
    std::string path;
    std::string outcome;  ///< one of File_Outcome
  };
  struct Failure {
    std::string kind;  ///< one of Failure_Kind
    std::string message;
  };

  std::string program;  ///< the command that ran it: "run" or "once"
  std::chrono::system_clock::time_point started;
  double seconds = 0;
  std::vector<Command> commands;      ///< those that change the host
  std::vector<File> files;            ///< those that are not what they were
  std::vector<std::string> actions;   ///< what was logged as done
  std::vector<std::string> problems;  ///< warnings and errors that were logged
  std::optional<Failure> failure;
};

/// What is kept from cycle to cycle, across restarts of the program.
struct Cycle_History {
  std::uint64_t cycles = 0;
  std::map<std::string, std::uint64_t> failures;  ///< by Failure_Kind
  std::map<std::string, std::uint64_t> repairs;   ///< of drift, by kind_of_file
  std::uint64_t holds_released = 0;
  std::optional<std::chrono::system_clock::time_point> last_success;

  /// The digest of each file as it was when it was last known to be in step.
  std::map<std::string, std::string> known_files;

  /// The numbers of the recent cycles in which a file, or the hold, had to be put right.
  std::map<std::string, std::vector<std::uint64_t>> recent_repairs;
};

/// The name under which the hold stands among what was put right.
inline constexpr const char* HOLD_SUBJECT = "hold";

/// What is put right again and again: somebody else must be changing it back.
std::vector<std::string> conflicts(const Cycle_History& history);

/// Notes that a file, or the hold, was put right in the cycle that was counted last.
void note_repair(Cycle_History& history, const std::string& subject);

/// What a file on the host is for: "keyring", "source_list", "upgrade_configuration", "timer",
/// "repository_file" or "other".
std::string kind_of_file(const std::string& path);

/// "2026-01-31T03:00:00Z".
std::string to_iso_time(std::chrono::system_clock::time_point time);

}  // namespace zant::velmora_host
