#pragma once

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/families/cycle_failure.hpp>
#include <zant/velmora_host/families/file_kind.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zant::velmora_host {

/// What became of a file in a cycle.
enum class File_Outcome {
  INSTALLED,  ///< there was none
  REPLACED,   ///< there was one that is not from here
  UPDATED,    ///< the one installed from here was out of date
  REPAIRED,   ///< somebody had changed or removed the one from here
  REMOVED,
};

/// "installed", "replaced", "updated", "repaired" or "removed".
PACKAGE_MINDER_HOST_EXPORT const char* to_string(File_Outcome outcome);

/// The outcome of that name; nothing for any other text.
PACKAGE_MINDER_HOST_EXPORT std::optional<File_Outcome> file_outcome_from(std::string_view name);

/// One cycle, from its first step to its last.
struct Cycle_Record {
  struct Command {
    std::string line;
    int exit_code = 0;
    double seconds = 0;
  };
  struct File {
    std::string path;
    File_Outcome outcome;
  };

  std::string program;  ///< who ran it: "run", "once", or the name of the server
  std::chrono::system_clock::time_point started;
  double seconds = 0;
  std::vector<Command> commands;        ///< those that change the host
  std::vector<File> files;              ///< those that are not what they were
  std::vector<std::string> actions;     ///< what was logged as done
  std::vector<std::string> problems;    ///< warnings and errors that were logged
  std::vector<Cycle_Failure> failures;  ///< one at most of each step; empty when the cycle succeeded

  bool succeeded() const { return failures.empty(); }
};

/// A key that an import of ours made the package manager trust.
struct Imported_Key {
  std::string key;  ///< as the package manager names it, and its owner
  std::chrono::system_clock::time_point time;
  bool is_first;  ///< imported when nothing was known yet of the host's keys: the repository was new

  bool operator==(const Imported_Key&) const = default;
};

/// The keys that the package manager checks packages with, where it keeps keys of its own.
struct Key_History {
  std::vector<std::string> trusted;    ///< after the last import
  std::vector<Imported_Key> imported;  ///< those of them that came by an import of ours, in order
};

/// What is kept from cycle to cycle, across restarts.
struct Cycle_History {
  std::uint64_t cycles = 0;
  std::map<Cycle_Step, std::uint64_t> failures;
  std::map<File_Kind, std::uint64_t> repairs;  ///< of drift
  std::uint64_t holds_released = 0;
  std::optional<std::chrono::system_clock::time_point> last_success;

  /// Nothing until a key has been imported.
  std::optional<Key_History> keys;

  /// The digest of each file as it was when it was last known to be in step.
  std::map<std::string, std::string> known_files;

  /// The numbers of the recent cycles in which a file, or the hold, had to be put right.
  std::map<std::string, std::vector<std::uint64_t>> recent_repairs;
};

/// What is known after a cycle.
struct Cycle_State {
  Cycle_Record last_cycle;
  Cycle_History history;
};

/// An installation that goes on, but has left no trace of progress for an hour. It is never ended.
struct Stalled_Installation {
  std::string command;
  std::chrono::system_clock::time_point since;  ///< the last trace, or the beginning

  bool operator==(const Stalled_Installation&) const = default;
};

/// The name under which the hold stands among what was put right.
inline constexpr const char* HOLD_SUBJECT = "hold";

/// What is put right again and again: somebody else must be changing it back.
PACKAGE_MINDER_HOST_EXPORT std::vector<std::string> conflicts(const Cycle_History& history);

/// The keys that came by an import of ours in the last seven days, and were not the first of this host.
PACKAGE_MINDER_HOST_EXPORT std::vector<Imported_Key> new_keys(const Cycle_History& history,
                                                              std::chrono::system_clock::time_point now);

/// Notes that a file, or the hold, was put right in the cycle that was counted last.
PACKAGE_MINDER_HOST_EXPORT void note_repair(Cycle_History& history, const std::string& subject);

/// One line about a cycle.
PACKAGE_MINDER_HOST_EXPORT std::string describe(const Cycle_Record& record);

}  // namespace zant::velmora_host
