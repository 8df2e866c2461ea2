#include <zant/velmora_host/reports/planning_system.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <utility>

namespace zant::velmora_host {

Planning_System::Planning_System(const Host_Services& real, const Family& family,
                                 std::shared_ptr<velmora::Filesystem> planned)
    : real_(real), family_(family), planned_files_(std::move(planned)) {}

velmora::Command_Result Planning_System::run_command(const std::string& command, bool flag) {
  const Command_Traits traits = family_.traits_of(command);
  if (traits.kind == Command_Kind::QUERY) {
    return answer_(command, flag);
  }
  planned_.push_back({command, traits.kind, is_noop_(traits)});
  return {"", 0};
}

std::optional<velmora::Command_Result> Planning_System::answer_to(const std::string& query) const {
  const auto found = answers_.find(query);
  return found == answers_.end() ? std::nullopt : std::optional(found->second);
}

velmora::Command_Result Planning_System::answer_(const std::string& query, bool flag) {
  if (const auto exit_code = family_.planned_exit_code_of(query, *planned_files_, *real_.filesystem)) {
    return {"", *exit_code};
  }
  return answers_[query] = real_.system->run_command(family_.report_form_of(query), flag);
}

bool Planning_System::is_noop_(const Command_Traits& traits) {
  return !traits.noop_check.empty() && velmora::command_succeeds(*real_.system, traits.noop_check);
}

}  // namespace zant::velmora_host
