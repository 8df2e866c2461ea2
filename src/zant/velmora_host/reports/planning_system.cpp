#include <zant/velmora_host/reports/planning_system.hpp>

#include <zant/velmora_host/families/library_commands.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <utility>

namespace zant::velmora_host {

Planning_System::Planning_System(std::shared_ptr<velmora::System> real) : real_(std::move(real)) {}

velmora::Command_Result Planning_System::run_command(const std::string& command, bool flag) {
  if (library_commands::is_query(command)) {
    auto result = real_->run_command(command, flag);
    exit_codes_[command] = result.exit_code;
    return result;
  }
  planned_.push_back({command, is_noop_(command)});
  return {"", 0};
}

std::optional<int> Planning_System::exit_code_of(const std::string& query) const {
  const auto found = exit_codes_.find(query);
  return found == exit_codes_.end() ? std::nullopt : std::optional(found->second);
}

bool Planning_System::is_noop_(const std::string& command) {
  const std::string query = library_commands::noop_check(command);
  return !query.empty() && velmora::command_succeeds(*real_, query);
}

}  // namespace zant::velmora_host
