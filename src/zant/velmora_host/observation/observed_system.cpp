#include <zant/velmora_host/observation/observed_system.hpp>

#include <chrono>
#include <utility>

namespace zant::velmora_host {

Observed_System::Observed_System(const Host_Services& services, const Family& family, Occasion occasion,
                                 std::shared_ptr<Command_Observer> observer)
    : services_(services), family_(family), occasion_(occasion), observer_(std::move(observer)) {}

velmora::Command_Result Observed_System::run_command(const std::string& command, bool flag) {
  using Clock = std::chrono::steady_clock;
  const Command_Kind kind = family_.traits_of(command).kind;
  const bool imports_key = kind == Command_Kind::IMPORTS_KEY;
  const auto keys_before = imports_key ? family_.trusted_keys(services_) : std::nullopt;
  const auto start = Clock::now();
  observer_->note_begin(kind);
  auto result = services_.system->run_command(command, flag);
  const Ended_Command ended = {command, result.exit_code};
  observer_->note_end(ended, kind, std::chrono::duration<double>(Clock::now() - start).count());
  if (const auto failure = family_.failure_of(ended, occasion_, services_)) {
    observer_->note_failure(*failure);
  }
  if (const auto keys_after = keys_before ? family_.trusted_keys(services_) : std::nullopt) {
    observer_->note_key_import({command, *keys_before, *keys_after});
  }
  return result;
}

}  // namespace zant::velmora_host
