#include <zant/velmora_host/observation/observed_package.hpp>

#include <exception>
#include <utility>

namespace zant::velmora_host {

Observed_Package::Observed_Package(std::shared_ptr<velmora::Package> real,
                                   std::shared_ptr<Cycle_Recorder> recorder,
                                   std::shared_ptr<Cycle_Watch> watch)
    : real_(std::move(real)), recorder_(std::move(recorder)), watch_(std::move(watch)) {}

bool Observed_Package::locked() const {
  return run_step_(Cycle_Step::HOLD, [this] { return real_->locked(); });
}

bool Observed_Package::lock() {
  return real_->lock();
}

bool Observed_Package::unlock() {
  const bool released = run_step_(Cycle_Step::HOLD, [this] { return real_->unlock(); });
  if (released) {
    recorder_->note_release();
  }
  return released;
}

void Observed_Package::initialize_repo_if_necessary() {
  watch_->note_cycle_begin();
  recorder_->begin_cycle();
  run_step_(Cycle_Step::REPOSITORY, [this] { real_->initialize_repo_if_necessary(); });
}

void Observed_Package::initialize_unattended_upgrades_if_necessary() {
  run_step_(Cycle_Step::UPGRADES, [this] { real_->initialize_unattended_upgrades_if_necessary(); });
  end_cycle_(std::nullopt);
}

void Observed_Package::end_cycle_(const std::optional<Cycle_Failure>& failure) const {
  recorder_->end_cycle(failure);
  watch_->note_cycle_end();
}

}  // namespace zant::velmora_host
