#include <standalone_host/commands.hpp>

#include <standalone_host/exit_status.hpp>
#include <standalone_host/package_factory.hpp>
#include <standalone_host/refusal.hpp>
#include <standalone_host/service_notification.hpp>
#include <standalone_host/staging_tree.hpp>
#include <standalone_host/stop_signals.hpp>
#include <standalone_host/temporary_directory.hpp>
#include <standalone_host/work_area.hpp>

#include <zant/logging/source.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <fmt/format.h>

#include <memory>

namespace zant::velmora::standalone_host {
namespace {

using Package_Constants::PACKAGE_NAME;
using zant::logging::severity_level;

zant::logging::Source make_log_source() {
  zant::logging::Source source;
  source.init_("package-minder", "");
  return source;
}

// The library's objects over a staging directory, in the order in which they depend on each other.
class Minding {
 public:
  Minding(const Host_Services& services, const Settings& settings,
          const boost::filesystem::path& staging_directory)
      : factory_(make_package_factory(services, settings, staging_directory)),
        config_(factory_->create_package_config(settings.automatic_upgrades())) {
    if (!config_) {
      throw Refusal(Exit_Status::UNSUPPORTED_HOST,
                    "no supported package manager: /etc/os-release names neither a Debian or Ubuntu nor a RHEL "
                    "family host");
    }
    if (config_->type() == Package_Config_Type::APT) {
      refuse_if_any(find_keyring_faults(staging_directory));
    }
  }

  Package_Config& config() const { return *config_; }
  std::shared_ptr<Package> create_package() const { return factory_->create_package(config_); }

  static void refuse_if_any(const Findings& findings) {
    if (!findings.empty()) {
      throw Refusal(Exit_Status::BAD_SETTINGS, findings);
    }
  }

 private:
  std::unique_ptr<Package_Factory> factory_;
  std::shared_ptr<Package_Config> config_;
};

// Who refuses to work leaves nothing behind.
Minding make_minding(const Host_Services& services, const Settings& settings, Work_Area& work_area) {
  try {
    return Minding(services, settings, work_area.staging_directory());
  } catch (const Refusal&) {
    work_area.remove();
    throw;
  }
}

int run(const Settings& settings) {
  auto log = make_log_source();
  // Before the worker starts, or a signal could end it in the middle of its work.
  Stop_Signals stop_signals;
  const Host_Services services = make_host_services(settings);
  Work_Area work_area(settings, services.filesystem);
  remove_interrupted_writes();
  const Minding minding = make_minding(services, settings, work_area);
  const auto minder = std::make_shared<Package_Minder>(minding.create_package());

  const auto interval = static_cast<unsigned int>(settings.interval().count());
  const std::string status = fmt::format("Minding {}, every {} s", PACKAGE_NAME, interval);
  ZANT_LOG(log, severity_level::info) << status;
  {
    const Package_Minder_Thread thread(minder, interval);
    Service_Notification::ready(status);
    const char* const reason = stop_signals.wait();
    Service_Notification::stopping("Stopping after the cycle under way");
    ZANT_LOG(log, severity_level::info) << "Stopping on " << reason << ", after the cycle under way if there is one";
  }
  ZANT_LOG(log, severity_level::info) << "Stopped";
  return Exit_Status::DONE;
}

int once(const Settings& settings) {
  const Host_Services services = make_host_services(settings);
  Work_Area work_area(settings, services.filesystem);
  remove_interrupted_writes();
  const Minding minding = make_minding(services, settings, work_area);
  Package_Minder minder(minding.create_package());
  minder.update_package_lock_if_necessary();
  minder.initialize_unattended_upgrades_if_necessary();
  auto log = make_log_source();
  ZANT_LOG(log, severity_level::info) << "The cycle is complete";
  return Exit_Status::DONE;
}

// Holding and releasing work beside a running service: they need nothing of the state directory.
template <typename Change>
int change_hold(const Settings& settings, Change change) {
  const Host_Services services = make_host_services(settings);
  const Temporary_Directory directory;
  copy_staging_tree(settings.staging_directory(), directory.path() / "staging", *services.filesystem);
  const Minding minding(services, settings, directory.path() / "staging");
  return change(*minding.create_package()) ? Exit_Status::DONE : Exit_Status::FAILED;
}

int hold(const Settings& settings) {
  return change_hold(settings, [](Package& package) { return package.lock(); });
}

int release(const Settings& settings) {
  return change_hold(settings, [](Package& package) { return package.unlock(); });
}

int purge(const Settings& settings, bool upgrades_only) {
  const Host_Services services = make_host_services(settings);
  Work_Area work_area(settings, services.filesystem);
  remove_interrupted_writes();
  const Minding minding = make_minding(services, settings, work_area);
  if (upgrades_only) {
    minding.config().purge_unattended_upgrade_configuration();
  } else {
    minding.config().purge_all_configurations();
    work_area.remove();
  }
  return Exit_Status::DONE;
}

}  // namespace

int carry_out(const Command_Line& command_line, const Settings& settings) {
  Minding::refuse_if_any(find_staging_tree_faults(settings.staging_directory()));
  switch (command_line.command) {
    case Command::RUN:
      return run(settings);
    case Command::ONCE:
      return once(settings);
    case Command::HOLD:
      return hold(settings);
    case Command::RELEASE:
      return release(settings);
    case Command::PURGE:
      return purge(settings, command_line.upgrades_only);
  }
  return Exit_Status::FAILED;
}

}  // namespace zant::velmora::standalone_host
