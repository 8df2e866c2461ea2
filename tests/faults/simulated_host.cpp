#include <faults/simulated_host.hpp>

#include <zant/velmora_host/services/command_service.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zant::velmora_host::faults {
namespace {

constexpr int OF_KILL = 9;

}  // namespace

Simulated_Host::Simulated_Host() {
  disk_->on_power_cut([this] { start_anew(); });
}

void Simulated_Host::restore(const Host_State& state) {
  tools_ = state.tools;
  disk_->entries() = state.disk;
}

void Simulated_Host::start_anew() {
  tools_.loaded_drop_ins = drop_ins_();
  tools_.timer_runs = timer_is_enabled_;
  tools_.upgrade_service_runs = timer_is_enabled_ && tools_.has_upgrade_package;
}

velmora::Command_Result Simulated_Host::run_command(const std::string& line, bool /*flag*/) {
  const auto known = commands_.find(line);
  if (known == commands_.end()) {
    ADD_FAILURE() << "a command line that the simulated host does not know: " << line;
    return {"", Exit_Code::NOT_STARTED};
  }
  const auto fault = plan_->next(known->second.kind, "run", line);
  if (!fault) {
    return {"", Exit_Code::NOT_STARTED};
  }
  const Answer answer = meet_(*fault, known->second);
  return {answer.output, answer.exit_code};
}

void Simulated_Host::on_question(const std::string& line, std::function<Answer()> ask) {
  commands_[line] = {Call_Kind::COMMAND_QUESTION, std::move(ask)};
}

void Simulated_Host::on_command(const std::string& line, std::function<Answer()> change) {
  commands_[line] = {Call_Kind::COMMAND, std::move(change)};
}

void Simulated_Host::on_timer(const std::string& timer, bool is_enabled) {
  timer_is_enabled_ = is_enabled;
  drop_in_directory_ = "/etc/systemd/system/" + timer + ".d";
  on_command("systemctl start " + timer, [this] {
    tools_.timer_runs = true;
    return Answer{};
  });
  on_question("systemctl status " + timer, [this] { return Answer{tools_.timer_runs ? 0 : 3}; });
  on_question("systemctl show " + timer + " | grep -q NeedDaemonReload=yes",
              [this] { return Answer{needs_reload_() ? 0 : 1}; });
  on_command("systemctl daemon-reload && systemctl restart " + timer, [this] {
    tools_.loaded_drop_ins = drop_ins_();
    tools_.timer_runs = true;
    return Answer{};
  });
}

Simulated_Host::Answer Simulated_Host::meet_(Fault fault, const Command& command) {
  switch (fault) {
    case Fault::NONE:
      return command.run();
    case Fault::FAILS:
      return {1};
    case Fault::FAILS_LATE:
      command.run();
      return {1};
    case Fault::TIME_LIMIT:
      command.run();
      return {Exit_Code::TIME_LIMIT};
    case Fault::NOT_STARTED:
      return {Exit_Code::NOT_STARTED};
    case Fault::IS_SIGNALLED:
      return {Exit_Code::SIGNAL_BASE + OF_KILL};
    case Fault::IS_NONSENSE:
      return {2, "segmentation [fault]\n"};
    case Fault::THROWS:
      throw std::runtime_error("the command service is broken");
    case Fault::KILL_AFTER:
    case Fault::POWER_CUT_AFTER:
      command.run();
      break;
    default:
      break;
  }
  if (fault >= Fault::POWER_CUT_BEFORE) {
    start_anew();
  }
  plan_->end_process();
}

std::map<std::string, std::string> Simulated_Host::drop_ins_() const {
  std::map<std::string, std::string> found;
  const std::string below = drop_in_directory_ + "/";
  const auto& entries = disk_->entries();
  for (auto one = entries.lower_bound(below); one != entries.end() && one->first.starts_with(below); ++one) {
    if (one->second && one->first.ends_with(".conf")) {
      found[one->first] = *one->second;
    }
  }
  return found;
}

// systemd compares what it has loaded, and does not look for what is new.
bool Simulated_Host::needs_reload_() const {
  const auto current = drop_ins_();
  return std::any_of(tools_.loaded_drop_ins.begin(), tools_.loaded_drop_ins.end(),
                     [&current](const auto& loaded) {
                       const auto found = current.find(loaded.first);
                       return found == current.end() || found->second != loaded.second;
                     });
}

}  // namespace zant::velmora_host::faults
