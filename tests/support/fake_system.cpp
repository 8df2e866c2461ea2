#include <support/fake_system.hpp>

#include <gtest/gtest.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <string_view>
#include <utility>
#include <vector>

namespace zant::velmora::test_support {
namespace {

bool fits(std::string_view text, const std::string& pattern) {
  std::vector<std::string> parts;
  boost::algorithm::split(parts, pattern, boost::algorithm::is_any_of("*"));
  if (!text.starts_with(parts.front())) {
    return false;
  }
  text.remove_prefix(parts.front().size());
  for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
    const auto place = text.find(parts[i]);
    if (place == std::string_view::npos) {
      return false;
    }
    text.remove_prefix(place + parts[i].size());
  }
  return parts.size() == 1 ? text.empty() : text.ends_with(parts.back());
}

}  // namespace

Fake_System::Fake_System(std::shared_ptr<Call_Journal> journal) : journal_(std::move(journal)) {}

void Fake_System::on(const std::string& command, int exit_code, const std::string& output) {
  results_[command] = {output, exit_code};
}

void Fake_System::on_like(const std::string& pattern, int exit_code, const std::string& output) {
  pattern_results_[pattern] = {output, exit_code};
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
  if (const Command_Result* const scripted = find_result_(command)) {
    return *scripted;
  }
  ADD_FAILURE() << "a command that no script names: " << command;
  return {"", 127};
}

const Command_Result* Fake_System::find_result_(const std::string& command) const {
  if (const auto whole = results_.find(command); whole != results_.end()) {
    return &whole->second;
  }
  // The longest pattern says most.
  const std::pair<const std::string, Command_Result>* best = nullptr;
  for (const auto& scripted : pattern_results_) {
    if (fits(command, scripted.first) && (best == nullptr || best->first.size() < scripted.first.size())) {
      best = &scripted;
    }
  }
  return best == nullptr ? nullptr : &best->second;
}

}  // namespace zant::velmora::test_support
