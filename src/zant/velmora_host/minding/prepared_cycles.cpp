#include <zant/velmora_host/minding/prepared_cycles.hpp>

#include <exception>
#include <stdexcept>

namespace zant::velmora_host {
namespace {

Cycle_State failed_without_record(const std::string& reason) {
  Cycle_State state;
  state.last_cycle.failures.push_back({Cycle_Step::REPOSITORY, reason});
  return state;
}

}  // namespace

Prepared_Cycles::Prepared_Cycles(const std::string& name, const Minded_Host& host,
                                 const boost::filesystem::path& staging_directory)
    : host_(host),
      acting_(host.services, host.family, host.settings),
      observation_(name, host, acting_.services(), staging_directory),
      factory_(
          host.family.create_package_factory(observation_.services(), host.settings, staging_directory)) {
  observation_.add_listener([this](const Cycle_State& state) {
    acting_.end_cycle(state.last_cycle);
    last_state_ = state;
  });
  minder_ = make_minder_();
}

std::shared_ptr<velmora::Package_Minder> Prepared_Cycles::make_minder_() {
  try {
    if (const auto obstacle = host_.family.find_cycle_obstacle(host_.services)) {
      throw std::runtime_error(to_string(*obstacle));
    }
    const auto config = factory_->create_package_config(host_.settings.automatic_upgrades());
    const auto package = acting_.watch(factory_->create_package(config));
    return std::make_shared<velmora::Package_Minder>(observation_.observe(package));
  } catch (const std::exception& error) {
    observation_.record_failed_start(error.what());
    throw;
  }
}

Cycle_State Prepared_Cycles::run_cycle() {
  last_state_.reset();
  try {
    minder_->update_package_lock_if_necessary();
    minder_->initialize_unattended_upgrades_if_necessary();
    return last_state_.value();
  } catch (const std::exception& error) {
    // Unless the recording itself failed, it is recorded.
    return last_state_ ? *last_state_ : failed_without_record(error.what());
  }
}

}  // namespace zant::velmora_host
