#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/log/program_log.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

#include <fmt/format.h>

namespace zant::program {

using zant::logging::severity_level;

int once(const Invocation& /*invocation*/, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services) {
  const auto state = velmora_host::Package_Minding("once", settings, services).run_cycle();
  for (const auto& failure : state.last_cycle.failures) {
    log_message(severity_level::error,
                fmt::format("The cycle failed ({}): {}", to_string(failure.step), failure.message));
  }
  if (!state.last_cycle.succeeded()) {
    return Exit_Status::FAILED;
  }
  log_message(severity_level::info, "The cycle is done");
  return Exit_Status::DONE;
}

}  // namespace zant::program
