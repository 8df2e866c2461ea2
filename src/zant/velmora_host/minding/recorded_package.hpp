#pragma once

#include <zant/velmora/package_minder/package.hpp>

#include <memory>
#include <utility>

namespace zant::velmora_host {

/// A package that remembers whether it could be released: the minder does not ask, because the next cycle
/// tries again, but who runs a single cycle wants to know.
class Recorded_Package : public velmora::Package {
 public:
  explicit Recorded_Package(std::shared_ptr<velmora::Package> package) : package_(std::move(package)) {}

  bool release_failed() const noexcept { return release_failed_; }

  bool locked() const override { return package_->locked(); }
  bool lock() override { return package_->lock(); }
  bool unlock() override {
    const bool released = package_->unlock();
    release_failed_ = !released;
    return released;
  }
  void initialize_repo_if_necessary() override { package_->initialize_repo_if_necessary(); }
  void initialize_unattended_upgrades_if_necessary() override {
    package_->initialize_unattended_upgrades_if_necessary();
  }

 private:
  std::shared_ptr<velmora::Package> package_;
  bool release_failed_ = false;
};

}  // namespace zant::velmora_host
