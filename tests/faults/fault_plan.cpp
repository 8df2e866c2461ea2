#include <faults/fault_plan.hpp>

#include <exception>
#include <utility>

namespace zant::velmora_host::faults {

const char* to_string(Fault fault) {
  static constexpr std::array NAMES = {
      "no fault",         "fails",          "is done and fails", "is cut short",     "throws",
      "is ended in time", "is not started", "is signalled",      "answers nonsense", "killed before",
      "killed during",    "killed after",   "power cut before",  "power cut during", "power cut after"};
  return NAMES.at(static_cast<std::size_t>(fault));
}

const std::vector<Fault>& faults_of(Call_Kind kind) {
  // What a question is killed at, the acts around it are.
  static const std::vector<Fault> of_question = {Fault::THROWS, Fault::KILL_BEFORE};
  static const std::vector<Fault> of_act = {
      Fault::FAILS,          Fault::FAILS_LATE,       Fault::IS_CUT_SHORT,
      Fault::THROWS,         Fault::KILL_BEFORE,      Fault::KILL_DURING,
      Fault::KILL_AFTER,     Fault::POWER_CUT_BEFORE, Fault::POWER_CUT_DURING,
      Fault::POWER_CUT_AFTER};
  static const std::vector<Fault> of_command_question = {Fault::THROWS,      Fault::TIME_LIMIT,
                                                         Fault::NOT_STARTED, Fault::IS_SIGNALLED,
                                                         Fault::IS_NONSENSE, Fault::KILL_BEFORE};
  static const std::vector<Fault> of_command = {
      Fault::FAILS,       Fault::FAILS_LATE,       Fault::THROWS,           Fault::TIME_LIMIT,
      Fault::NOT_STARTED, Fault::IS_SIGNALLED,     Fault::KILL_BEFORE,      Fault::KILL_DURING,
      Fault::KILL_AFTER,  Fault::POWER_CUT_BEFORE, Fault::POWER_CUT_DURING, Fault::POWER_CUT_AFTER};
  switch (kind) {
    case Call_Kind::QUESTION:
      return of_question;
    case Call_Kind::ACT:
      return of_act;
    case Call_Kind::COMMAND_QUESTION:
      return of_command_question;
    case Call_Kind::COMMAND:
      break;
  }
  return of_command;
}

void Fault_Plan::begin(std::vector<Planned_Fault> faults) {
  faults_ = std::move(faults);
  count_ = 0;
  has_ended_ = false;
  calls_.clear();
}

std::optional<Fault> Fault_Plan::next(Call_Kind kind, const char* what, const std::string& subject) {
  if (has_ended_) {
    if (std::uncaught_exceptions() == 0) {
      throw Process_Ended{};
    }
    return std::nullopt;
  }
  if (keeps_calls_) {
    calls_.push_back({kind, std::string(what) + " " + subject});
  }
  const std::size_t number = count_++;
  for (const auto& planned : faults_) {
    if (planned.call == number) {
      return planned.fault;
    }
  }
  return Fault::NONE;
}

void Fault_Plan::end_process() {
  has_ended_ = true;
  throw Process_Ended{};
}

}  // namespace zant::velmora_host::faults
