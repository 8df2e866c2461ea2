#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host::faults {

/// What a call to a service can meet.
enum class Fault {
  NONE,
  FAILS,         ///< nothing is done, and that is said
  FAILS_LATE,    ///< all is done, and yet it is said to have failed
  IS_CUT_SHORT,  ///< a part is done, and it is said to have failed
  THROWS,        ///< nothing is done, and an exception comes
  TIME_LIMIT,    ///< a command is ended before it has printed anything; what it changes is done
  NOT_STARTED,   ///< a command could not be started
  IS_SIGNALLED,  ///< a command is ended by a signal before it has done anything
  IS_NONSENSE,   ///< a command prints rubbish
  // The process ends. What happened to it is the same for the two, what became of the host is not: after a
  // power cut the host starts anew.
  KILL_BEFORE,
  KILL_DURING,
  KILL_AFTER,
  POWER_CUT_BEFORE,
  POWER_CUT_DURING,
  POWER_CUT_AFTER,
};

/// "FAILS" and so on.
const char* to_string(Fault fault);

/// Whether a call is a question, changes files, or is a command that changes the host.
enum class Call_Kind { QUESTION, ACT, COMMAND_QUESTION, COMMAND };

/// The faults that a call of a kind can meet.
const std::vector<Fault>& faults_of(Call_Kind kind);

/// Thrown through everything when the process ends; nothing may take it for an error.
struct Process_Ended {};

/// A fault at the call of a number, counted from the plan's begin.
struct Planned_Fault {
  std::size_t call;
  Fault fault;
};

struct Call {
  Call_Kind kind;
  std::string text;
};

/// Counts the calls to all services, and says what each of them meets.
class Fault_Plan {
 public:
  /// From now on, counted from 0.
  void begin(std::vector<Planned_Fault> faults);

  /// Keeps the calls, or ends that.
  void keep_calls(bool keep) { keeps_calls_ = keep; }
  const std::vector<Call>& calls() const noexcept { return calls_; }

  /// What the next call meets. A call of a process that has ended has no effect: it throws, or, while an
  /// exception is on its way, is to do nothing.
  ///
  /// @return nothing when nothing is to be done.
  std::optional<Fault> next(Call_Kind kind, const char* what, const std::string& subject);

  /// Ends the process.
  [[noreturn]] void end_process();

  bool has_ended() const noexcept { return has_ended_; }

 private:
  std::vector<Planned_Fault> faults_;
  std::size_t count_ = 0;
  bool has_ended_ = false;
  bool keeps_calls_ = false;
  std::vector<Call> calls_;
};

}  // namespace zant::velmora_host::faults
