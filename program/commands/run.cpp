#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/log/program_log.hpp>
#include <program/platform/platform.hpp>
#include <program/platform/stop_signals.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <string>
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

// What the service manager shows: the verdict, once there is one, and the last cycle. Told from the threads
// that find them.
class Status_Line {
 public:
  /// @param manager may be null.
  explicit Status_Line(Service_Manager* manager) : manager_(manager) {}

  void note(const velmora_host::Cycle_Record& cycle) {
    const std::lock_guard lock(mutex_);
    cycle_ = describe(cycle);
    show_();
  }

  void note(const velmora_host::Verdict& verdict) {
    const std::lock_guard lock(mutex_);
    verdict_ = velmora_host::printable(describe(verdict)) + "; ";
    show_();
  }

 private:
  void show_() const {
    if (manager_ != nullptr) {
      manager_->status(verdict_ + cycle_);
    }
  }

  Service_Manager* const manager_;
  std::mutex mutex_;
  std::string cycle_;
  std::string verdict_;
};

}  // namespace

int run(const Invocation& /*invocation*/, const velmora_host::Settings& settings,
        const velmora_host::Host_Services& services) {
  // Before the worker starts, or a signal could end it in the middle of its work.
  Stop_Signals stop_signals;
  const auto service_manager = find_service_manager();
  Status_Line status_line(service_manager.get());
  Package_Minding minding("run", settings, services);
  minding.add_listener(
      [&status_line](const velmora_host::Cycle_State& state) { status_line.note(state.last_cycle); });
  minding.add_verdict_listener(
      [&status_line](const velmora_host::Verdict& verdict) { status_line.note(verdict); });

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
