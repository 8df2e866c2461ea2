#include <zant/velmora/choco/choco_package.hpp>

#include <utility>

namespace zant::velmora {

Choco_Package::Choco_Package(std::shared_ptr<Virtual_Choco_Exe> choco_exe,
                             std::shared_ptr<Package_Config> package_config)
    : choco_exe_(std::move(choco_exe)), package_config_(std::move(package_config)) {}

bool Choco_Package::locked() const {
  return choco_exe_->package_is_pinned();
}

bool Choco_Package::lock() {
  return choco_exe_->pin_package();
}

bool Choco_Package::unlock() {
  return choco_exe_->unpin_package();
}

void Choco_Package::initialize_repo_if_necessary() {
  package_config_->setup_repo_if_necessary();
}

void Choco_Package::initialize_unattended_upgrades_if_necessary() {
  package_config_->setup_unattended_upgrades_if_necessary();
}

}  // namespace zant::velmora
