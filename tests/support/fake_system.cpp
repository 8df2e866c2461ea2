#include <support/fake_system.hpp>

#include <gtest/gtest.h>

#include <utility>

namespace zant::velmora::test_support {

Fake_System::Fake_System(std::shared_ptr<Call_Journal> journal) : journal_(std::move(journal)) {}

void Fake_System::on(const std::string& command, int exit_code, const std::string& output) {
  results_[command] = {output, exit_code};
}

void Fake_System::once(const std::string& command, int exit_code, const std::string& output) {
  queued_results_[command].push_back({output, exit_code});
}

void Fake_System::during(const std::string& command, std::function<void()> action) {
  actions_[command] = std::move(action);
}

std::vector<std::string> Fake_System::commands() const {
  const std::lock_guard lock(mutex_);
  return commands_;
}

Command_Result Fake_System::run_command(const std::string& command, bool flag) {
  EXPECT_TRUE(flag) << "run without the flag: " << command;
  Command_Result result;
  {
    const std::lock_guard lock(mutex_);
    commands_.push_back(command);
    journal_->push_back("run " + command);
    result = next_result_(command);
  }
  if (const auto action = actions_.find(command); action != actions_.end()) {
    action->second();
  }
  return result;
}

Command_Result Fake_System::next_result_(const std::string& command) {
  if (auto& queue = queued_results_[command]; !queue.empty()) {
    Command_Result result = queue.front();
    queue.pop_front();
    return result;
  }
  const auto scripted = results_.find(command);
  if (scripted == results_.end()) {
    ADD_FAILURE() << "a command that no script names: " << command;
    return {"", 127};
  }
  return scripted->second;
}

}  // namespace zant::velmora::test_support
