#include <zant/velmora/package_minder/package_minder.hpp>

#include <utility>

namespace zant::velmora {

Package_Minder::Package_Minder(std::shared_ptr<Package> package) : package_(std::move(package)) {}

void Package_Minder::update_package_lock_if_necessary() {
  package_->initialize_repo_if_necessary();
  if (package_->locked()) {
    package_->unlock();
  }
}

void Package_Minder::initialize_unattended_upgrades_if_necessary() {
  package_->initialize_unattended_upgrades_if_necessary();
}

}  // namespace zant::velmora
