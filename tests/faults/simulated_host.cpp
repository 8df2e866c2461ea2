#include <faults/simulated_host.hpp>

#include <zant/velmora_host/services/command_service.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zant::velmora_host::faults {
namespace {

constexpr int OF_KILL = 9;
const std::string RECORDS = "/var/lib/package-minder/";

void add(std::string& text, const std::string& part) {
  text += std::to_string(part.size()) + ':' + part;
}

// Of times and counters.
std::string without_numbers(std::string text) {
  std::erase_if(text, [](char character) { return character >= '0' && character <= '9'; });
  return text;
}

}  // namespace

Simulated_Host::Simulated_Host() {
  disk_->on_power_cut([this] { start_anew(); });
}

void Simulated_Host::restore(const Host_State& state) {
  tools_ = state.tools;
  disk_->entries() = state.disk;
}

std::string Simulated_Host::text_of_state() const {
  std::string text;
  for (const bool is_so : {tools_.is_held, tools_.has_upgrade_package, tools_.upgrade_service_runs,
                           tools_.timer_runs, tools_.other_timers_run, tools_.key_is_imported}) {
    text += is_so ? '1' : '0';
  }
  add(text, tools_.list_in_use);
  for (const auto& [path, drop_in] : tools_.loaded_drop_ins) {
    add(text, path);
    add(text, drop_in);
  }
  text += '/';
  for (const auto& [path, entry] : disk_->entries()) {
    add(text, path);
    if (entry) {
      add(text, path.starts_with(RECORDS) ? without_numbers(*entry) : *entry);
    }
  }
  return text;
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
