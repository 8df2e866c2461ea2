#include <zant/velmora_host/minding/package_minding.hpp>

#include <zant/velmora_host/minding/cycle_runner.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>

#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <optional>
#include <utility>

namespace zant::velmora_host {

class PACKAGE_MINDER_HOST_LOCAL Package_Minding::Implementation {
 public:
  Implementation(const std::string& name, const Settings& copied_settings, const Host_Services& services)
      : settings(copied_settings), runner(name, settings, services) {
    // For a report only, which says that it is missing.
    settings_in_force::write(*services.filesystem, settings.state_directory(),
                             settings_in_force::of_this_process(settings));
  }

  const Settings settings;
  Cycle_Runner runner;
  std::optional<velmora::Package_Minder_Thread> worker;
};

Package_Minding::Package_Minding(const std::string& name, const Settings& settings,
                                 const Host_Services& services)
    : implementation_(std::make_unique<Implementation>(name, settings, services)) {}

Package_Minding::~Package_Minding() = default;

void Package_Minding::add_listener(Listener listener) {
  implementation_->runner.add_listener(std::move(listener));
}

Cycle_State Package_Minding::run_cycle() {
  return implementation_->runner.run_cycle();
}

void Package_Minding::start() {
  const auto interval = static_cast<unsigned int>(implementation_->settings.interval().count());
  implementation_->worker.emplace(implementation_->runner.minder(), interval);
}

void Package_Minding::stop() {
  implementation_->worker.reset();
}

bool Package_Minding::is_alive() const {
  return implementation_->runner.watch().is_alive();
}

}  // namespace zant::velmora_host
