#include <program/commands.hpp>

#include <program/exit_status.hpp>
#include <program/platform/platform.hpp>
#include <program/platform/stop_signals.hpp>
#include <program/report_commands.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/minding/minding.hpp>
#include <zant/velmora_host/minding/recorded_package.hpp>
#include <zant/velmora_host/observation/cycle_observation.hpp>
#include <zant/velmora_host/observation/logged_failure.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <zant/logging/source.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;
using zant::logging::severity_level;

// One operation for each command, on the same settings and services.
class Commands {
 public:
  Commands(const velmora_host::Settings& settings, const velmora_host::Host_Services& services)
      : settings_(settings), services_(services) {
    log_.init_("package-minder", "");
  }

  int run() {
    // Before the worker starts: its thread must inherit the blocked signals.
    Stop_Signals stop_signals;
    const auto service_manager = find_service_manager();
    velmora_host::Work_Area work_area(settings_, services_.filesystem);
    velmora_host::Cycle_Observation observation("run", settings_, services_, work_area.staging_directory());
    if (service_manager) {
      observation.add_listener([manager = service_manager.get()](const velmora_host::Cycle_State& state) {
        manager->status(velmora_host::describe(state.last_cycle));
      });
    }
    const velmora_host::Minding minding = start_minding_(work_area, Purpose::SET_UP, observation.services());
    const auto minder =
        std::make_shared<velmora::Package_Minder>(observation.observe(minding.create_package()));

    const auto interval = static_cast<unsigned int>(settings_.interval().count());
    const std::string status = fmt::format("Minding {}, with {} s between cycles", PACKAGE_NAME, interval);
    log_message_(severity_level::info, status);
    {
      const velmora::Package_Minder_Thread thread(minder, interval);
      if (service_manager) {
        service_manager->ready(status);
      }
      const std::string reason = wait_for_stop_(stop_signals, observation.watch(), service_manager.get());
      if (service_manager) {
        service_manager->stopping("Stopping, after the cycle under way if there is one");
      }
      log_message_(severity_level::info,
                   "Stopping on " + reason + ", after the cycle under way if there is one");
    }
    log_message_(severity_level::info, "Stopped");
    return Exit_Status::DONE;
  }

  int once() {
    velmora_host::Work_Area work_area(settings_, services_.filesystem);
    const velmora_host::Cycle_Observation observation("once", settings_, services_,
                                                      work_area.staging_directory());
    const velmora_host::Minding minding = start_minding_(work_area, Purpose::SET_UP, observation.services());
    const auto package =
        std::make_shared<velmora_host::Recorded_Package>(observation.observe(minding.create_package()));
    velmora::Package_Minder minder(package);
    const velmora_host::Logged_Failure_Watch watch;
    minder.update_package_lock_if_necessary();
    minder.initialize_unattended_upgrades_if_necessary();
    if (package->release_failed()) {
      log_message_(severity_level::error,
                   fmt::format("The cycle is done, but {} is still held", PACKAGE_NAME));
      return Exit_Status::FAILED;
    }
    if (watch.has_noticed_one()) {
      return Exit_Status::FAILED;
    }
    log_message_(severity_level::info, "The cycle is done");
    return Exit_Status::DONE;
  }

  int hold() {
    return with_private_staging_([](velmora::Package& package) { return package.lock(); });
  }

  int release() {
    return with_private_staging_([](velmora::Package& package) { return package.unlock(); });
  }

  int purge() {
    velmora_host::Work_Area work_area(settings_, services_.filesystem);
    const velmora_host::Logged_Failure_Watch watch;
    start_minding_(work_area, Purpose::UNDO, services_).config().purge_all_configurations();
    const velmora_host::Installed_Paths installed = velmora_host::installed_paths();
    const bool repository_is_gone = verify_gone_(installed.repository);
    const bool upgrades_are_gone = verify_gone_(installed.upgrades);
    if (!repository_is_gone || !upgrades_are_gone || watch.has_noticed_one()) {
      return Exit_Status::FAILED;
    }
    velmora_host::remove_observations(settings_, *services_.filesystem);
    work_area.remove();
    log_message_(severity_level::info, "All changes on this host are undone");
    return Exit_Status::DONE;
  }

  int purge_upgrades() {
    velmora_host::Work_Area work_area(settings_, services_.filesystem);
    const velmora_host::Logged_Failure_Watch watch;
    start_minding_(work_area, Purpose::UNDO, services_).config().purge_unattended_upgrade_configuration();
    if (!verify_gone_(velmora_host::installed_paths().upgrades) || watch.has_noticed_one()) {
      return Exit_Status::FAILED;
    }
    log_message_(severity_level::info, "The automatic upgrades are undone; the repository stays registered");
    return Exit_Status::DONE;
  }

 private:
  enum class Purpose { SET_UP, UNDO };

  velmora_host::Minding start_minding_(velmora_host::Work_Area& work_area, Purpose purpose,
                                       const velmora_host::Host_Services& services) const {
    try {
      velmora_host::Minding minding(services, settings_, work_area.staging_directory());
      if (purpose == Purpose::SET_UP && minding.config().type() == velmora::Package_Config_Type::APT) {
        velmora_host::refuse_if_any(velmora_host::find_keyring_faults(settings_.staging_directory()));
      }
      velmora_host::remove_interrupted_writes(*services_.filesystem);
      return minding;
    } catch (const velmora_host::Refusal&) {
      // On refusal, remove the state directory.
      work_area.remove();
      throw;
    }
  }

  // Pings from the main thread, only while the worker makes progress: a pinging thread would hide a hang.
  std::string wait_for_stop_(Stop_Signals& stop_signals, const velmora_host::Cycle_Watch& watch,
                             Service_Manager* service_manager) {
    const auto interval =
        service_manager != nullptr ? service_manager->watchdog_interval() : std::chrono::milliseconds::zero();
    if (interval == std::chrono::milliseconds::zero()) {
      return stop_signals.wait();
    }
    bool is_lost = false;
    while (true) {
      if (watch.is_alive()) {
        service_manager->alive();
      } else if (!std::exchange(is_lost, true)) {
        log_message_(severity_level::fatal, "The worker has been stuck longer than the command time limit");
      }
      if (const char* const reason = stop_signals.wait_for(interval)) {
        return reason;
      }
    }
  }

  // Uses a private staging directory: a running service owns the state directory.
  template <typename Change>
  int with_private_staging_(Change change) const {
    const velmora_host::Temporary_Directory directory;
    const path staging_directory = directory.path() / "staging";
    velmora_host::make_staging_directory(settings_, staging_directory);
    const velmora_host::Minding minding(services_, settings_, staging_directory);
    return change(*minding.create_package()) ? Exit_Status::DONE : Exit_Status::FAILED;
  }

  // The library goes on when it cannot remove a file.
  bool verify_gone_(const std::vector<path>& paths) {
    bool all_gone = true;
    for (const auto& candidate : paths) {
      if (services_.filesystem->exists(candidate)) {
        log_message_(severity_level::error, fmt::format("Could not remove {}", candidate.string()));
        all_gone = false;
      }
    }
    return all_gone;
  }

  void log_message_(severity_level level, const std::string& message) { ZANT_LOG(log_, level) << message; }

  zant::logging::Source log_;
  const velmora_host::Settings& settings_;
  const velmora_host::Host_Services& services_;
};

}  // namespace

int carry_out(const Command_Line& command_line, const velmora_host::Settings& settings,
              const velmora_host::Host_Services& services) {
  if (command_line.command == Command::OF_THIS_HOST) {
    return command_line.host_command(command_line.settings);
  }
  if (command_line.on_removal && !settings.purge_on_removal()) {
    return Exit_Status::DONE;
  }
  velmora_host::refuse_if_any(velmora_host::find_host_faults(settings));
  if (command_line.plan_only) {
    return report_commands::plan(command_line, settings, services);
  }
  Commands commands(settings, services);
  switch (command_line.command) {
    case Command::RUN:
      return commands.run();
    case Command::ONCE:
      return commands.once();
    case Command::HOLD:
      return commands.hold();
    case Command::RELEASE:
      return commands.release();
    case Command::PURGE:
      return command_line.upgrades_only ? commands.purge_upgrades() : commands.purge();
    case Command::STATUS:
      return report_commands::status(command_line, settings, services);
    case Command::PLAN:
      return report_commands::plan(command_line, settings, services);
    case Command::CHECK:
      // Handled in main: it reads the settings itself.
    case Command::OF_THIS_HOST:
      // Handled above.
      break;
  }
  return Exit_Status::WRONG_USAGE;
}

}  // namespace zant::program
