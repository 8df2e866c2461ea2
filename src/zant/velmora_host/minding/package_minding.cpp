#include <zant/velmora_host/minding/package_minding.hpp>

#include <zant/velmora_host/minding/cycle_runner.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>
#include <zant/velmora_host/verdict/verdict_keeper.hpp>

#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <optional>
#include <utility>
#include <vector>

namespace zant::velmora_host {

class PACKAGE_MINDER_HOST_LOCAL Package_Minding::Implementation {
 public:
  Implementation(const std::string& name, const Settings& copied_settings, const Host_Services& services)
      : settings(copied_settings), runner(name, settings, services) {
    // For a report only, which says that it is missing.
    settings_in_force::write(*services.filesystem, settings.state_directory(),
                             settings_in_force::of_this_process(settings));
    runner.cycles().add_listener([this](const Cycle_State& /*state*/) {
      if (keeper) {
        keeper->note_cycle();
      }
    });
  }

  void take_over(const Verdict& verdict, const Verdict_Keeper::Keys& keys) {
    runner.cycles().note_verdict(verdict, keys);
    for (const auto& listener : verdict_listeners) {
      listener(verdict);
    }
  }

  const Settings settings;
  Cycle_Runner runner;
  std::vector<Verdict_Listener> verdict_listeners;

  // Before the worker, whose cycles it is told of.
  std::optional<Verdict_Keeper> keeper;
  std::optional<velmora::Package_Minder_Thread> worker;
};

Package_Minding::Package_Minding(const std::string& name, const Settings& settings,
                                 const Host_Services& services)
    : implementation_(std::make_unique<Implementation>(name, settings, services)) {}

Package_Minding::~Package_Minding() {
  stop();
}

void Package_Minding::add_listener(Listener listener) {
  implementation_->runner.cycles().add_listener(std::move(listener));
}

void Package_Minding::add_verdict_listener(Verdict_Listener listener) {
  implementation_->verdict_listeners.push_back(std::move(listener));
}

Cycle_State Package_Minding::run_cycle() {
  return implementation_->runner.cycles().run_cycle();
}

void Package_Minding::start() {
  implementation_->keeper.emplace(
      implementation_->runner.host(),
      [implementation = implementation_.get()](const Verdict& verdict, const Verdict_Keeper::Keys& keys) {
        implementation->take_over(verdict, keys);
      });
  const auto interval = static_cast<unsigned int>(implementation_->settings.interval().count());
  implementation_->worker.emplace(implementation_->runner.cycles().minder(), interval);
}

void Package_Minding::stop() {
  if (implementation_->keeper) {
    implementation_->keeper->request_stop();
  }
  implementation_->worker.reset();
  implementation_->keeper.reset();
}

bool Package_Minding::is_alive() const {
  return implementation_->runner.cycles().watch().is_alive();
}

}  // namespace zant::velmora_host
