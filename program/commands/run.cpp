#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/log/program_log.hpp>
#include <program/platform/platform.hpp>
#include <program/platform/stop_signals.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace zant::program {
namespace {

using velmora_host::Package_Minding;
using zant::logging::severity_level;

// Pings from this thread, and only while the worker makes progress: a pinging thread would hide a hang.
std::string wait_for_stop(Stop_Signals& stop_signals, const Package_Minding& minding,
                          Service_Manager& service_manager, std::chrono::milliseconds interval) {
  bool is_stuck = false;
  while (true) {
    if (minding.is_alive()) {
      service_manager.alive();
    } else if (!std::exchange(is_stuck, true)) {
      log_message(severity_level::fatal, "The worker has been stuck longer than the command time limit");
    }
    if (const char* const reason = stop_signals.wait_for(interval)) {
      return reason;
    }
  }
}

std::string wait_for_stop(Stop_Signals& stop_signals, const Package_Minding& minding,
                          Service_Manager* service_manager) {
  const auto interval =
      service_manager != nullptr ? service_manager->watchdog_interval() : std::chrono::milliseconds::zero();
  return interval == std::chrono::milliseconds::zero()
             ? stop_signals.wait()
             : wait_for_stop(stop_signals, minding, *service_manager, interval);
}

}  // namespace

int run(const Invocation& /*invocation*/, const velmora_host::Settings& settings,
        const velmora_host::Host_Services& services) {
  // Before the worker starts, or a signal could end it in the middle of its work.
  Stop_Signals stop_signals;
  const auto service_manager = find_service_manager();
  Package_Minding minding("run", settings, services);
  if (service_manager) {
    minding.add_listener([manager = service_manager.get()](const velmora_host::Cycle_State& state) {
      manager->status(describe(state.last_cycle));
    });
  }

  const std::string status =
      fmt::format("Minding {}, with {} s between cycles", velmora::Package_Constants::PACKAGE_NAME,
                  settings.interval().count());
  log_message(severity_level::info, status);
  minding.start();
  if (service_manager) {
    service_manager->ready(status);
  }
  const std::string reason = wait_for_stop(stop_signals, minding, service_manager.get());
  if (service_manager) {
    service_manager->stopping("Stopping, after the cycle under way if there is one");
  }
  log_message(severity_level::info,
              fmt::format("Stopping on {}, after the cycle under way if there is one", reason));
  minding.stop();
  log_message(severity_level::info, "Stopped");
  return Exit_Status::DONE;
}

}  // namespace zant::program
