#include <zant/velmora_host/observation/observed_system.hpp>

#include <zant/velmora_host/services/command_service.hpp>

#include <fmt/format.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

namespace zant::velmora_host {
namespace {

constexpr int MOST_SIGNALS = 64;

// Killed, ended, or never started: the exit code is not the query's own.
bool is_no_answer(int exit_code) {
  return exit_code == Exit_Code::TIME_LIMIT || exit_code == Exit_Code::STATUS_LOST ||
         exit_code == Exit_Code::NOT_STARTED ||
         (exit_code > Exit_Code::SIGNAL_BASE && exit_code <= Exit_Code::SIGNAL_BASE + MOST_SIGNALS);
}

// The library takes every failure for the answer "no".
void require_answer(const Command_Traits& traits, const std::string& line,
                    const velmora::Command_Result& result, Occasion occasion) {
  const bool has_failed = result.exit_code != 0 || result.output.empty();
  const bool lacks_text = traits.must_print && occasion == Occasion::CYCLE && has_failed;
  if (traits.kind == Command_Kind::QUERY && (is_no_answer(result.exit_code) || lacks_text)) {
    throw std::runtime_error(
        fmt::format("No answer to a question, but exit code {} | Command: {}", result.exit_code, line));
  }
}

}  // namespace

Observed_System::Observed_System(const Host_Services& services, const Family& family, Occasion occasion,
                                 std::shared_ptr<Command_Observer> observer)
    : services_(services), family_(family), occasion_(occasion), observer_(std::move(observer)) {}

velmora::Command_Result Observed_System::run_command(const std::string& command, bool flag) {
  using Clock = std::chrono::steady_clock;
  const Command_Traits traits = family_.traits_of(command);
  const Command_Kind kind = traits.kind;
  const bool imports_key = kind == Command_Kind::IMPORTS_KEY;
  const auto keys_before = imports_key ? family_.trusted_keys(services_) : std::nullopt;
  const auto start = Clock::now();
  observer_->note_begin(command, kind);
  auto result = services_.system->run_command(command, flag);
  const Ended_Command ended = {command, result.exit_code};
  observer_->note_end(ended, kind, std::chrono::duration<double>(Clock::now() - start).count());
  require_answer(traits, command, result, occasion_);
  if (const auto failure = family_.failure_of(ended, occasion_, services_)) {
    observer_->note_failure(*failure);
  }
  if (const auto keys_after = keys_before ? family_.trusted_keys(services_) : std::nullopt) {
    observer_->note_key_import({command, *keys_before, *keys_after});
  }
  return result;
}

}  // namespace zant::velmora_host
