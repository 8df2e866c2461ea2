#include <zant/velmora_host/observation/observed_system.hpp>

#include <zant/velmora_host/families/library_commands.hpp>

#include <chrono>
#include <utility>

namespace zant::velmora_host {

Observed_System::Observed_System(std::shared_ptr<velmora::System> real,
                                 std::shared_ptr<Cycle_Recorder> recorder, std::shared_ptr<Cycle_Watch> watch)
    : real_(std::move(real)), recorder_(std::move(recorder)), watch_(std::move(watch)) {}

velmora::Command_Result Observed_System::run_command(const std::string& command, bool flag) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  watch_->note_command_begin(command, start);
  auto result = real_->run_command(command, flag);
  const auto end = Clock::now();
  watch_->note_command_end(end);
  if (!library_commands::is_query(command)) {
    recorder_->note_command(command, result.exit_code, std::chrono::duration<double>(end - start).count());
  }
  return result;
}

}  // namespace zant::velmora_host
