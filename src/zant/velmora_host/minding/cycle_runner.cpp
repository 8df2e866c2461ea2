#include <zant/velmora_host/minding/cycle_runner.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/minding/interrupted_writes.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <exception>
#include <stdexcept>

namespace zant::velmora_host {
namespace {

Minded_Host find_host(const Settings& settings, const Host_Services& services,
                      const Family_Registry& registry) {
  Minded_Host host = find_minded_host(settings, services, registry);
  refuse_if_any(find_keyring_faults(settings.staging_directory(), host.family.staging_layout()));
  return host;
}

// Where everybody could read what lies there: earlier versions made them so.
void close_private_directories(const Family& family, Host_Filesystem& filesystem) {
  for (const auto& directory : family.private_directories()) {
    if (filesystem.exists(directory)) {
      filesystem.create_directories(directory);
    }
  }
}

}  // namespace

Cycle_Runner::Cycle_Runner(const std::string& name, const Settings& settings, const Host_Services& services,
                           const Family_Registry& registry)
    : host_(find_host(settings, services, registry)),
      work_area_(settings, host_.family.staging_layout(), services.filesystem),
      observation_(name, host_, work_area_.staging_directory()),
      factory_(host_.family.create_package_factory(observation_.services(), settings,
                                                   work_area_.staging_directory())) {
  remove_interrupted_writes(host_.family, *services.filesystem);
  close_private_directories(host_.family, *services.filesystem);
  observation_.add_listener([this](const Cycle_State& state) { last_state_ = state; });
  minder_ = make_minder_();
}

std::shared_ptr<velmora::Package_Minder> Cycle_Runner::make_minder_() const {
  try {
    if (const auto obstacle = host_.family.find_cycle_obstacle(host_.services)) {
      throw std::runtime_error(to_string(*obstacle));
    }
    const auto config = factory_->create_package_config(host_.settings.automatic_upgrades());
    return std::make_shared<velmora::Package_Minder>(observation_.observe(factory_->create_package(config)));
  } catch (const std::exception& error) {
    observation_.record_failed_start(error.what());
    throw;
  }
}

Cycle_State Cycle_Runner::run_cycle() {
  try {
    minder_->update_package_lock_if_necessary();
    minder_->initialize_unattended_upgrades_if_necessary();
  } catch (const std::exception&) {
    // The observed package has recorded it.
  }
  return last_state_;
}

}  // namespace zant::velmora_host
