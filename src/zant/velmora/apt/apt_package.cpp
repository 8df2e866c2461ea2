#include <zant/velmora/apt/apt_package.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <utility>

namespace zant::velmora {

using zant::logging::severity_level;

APT_Package::APT_Package(std::shared_ptr<System> system, std::shared_ptr<Package_Config> package_config)
    : system_(std::move(system)), package_config_(std::move(package_config)) {
  log_.init_("APT_Package", "");
}

bool APT_Package::locked() const {
  return command_succeeds(*system_, APT_Constants::HOLD_QUERY);
}

bool APT_Package::lock() {
  return apt_mark_set_(APT_Mark_Option::HOLD);
}

bool APT_Package::unlock() {
  return apt_mark_set_(APT_Mark_Option::UNHOLD);
}

void APT_Package::initialize_repo_if_necessary() {
  package_config_->setup_repo_if_necessary();
}

void APT_Package::initialize_unattended_upgrades_if_necessary() {
  package_config_->setup_unattended_upgrades_if_necessary();
}

bool APT_Package::apt_mark_set_(APT_Mark_Option option) {
  const bool release = option == APT_Mark_Option::UNHOLD;
  const bool succeeded =
      command_succeeds(*system_, release ? APT_Constants::UNHOLD_PACKAGE : APT_Constants::HOLD_PACKAGE);
  ZANT_LOG(log_, succeeded ? severity_level::notice : severity_level::error)
      << fmt::format("{} {} package to \"{}\"", succeeded ? "Set" : "Failed to set",
                     Package_Constants::PACKAGE_NAME, release ? "unhold" : "hold");
  return succeeded;
}

}  // namespace zant::velmora
