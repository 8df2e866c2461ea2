#include <zant/velmora/dnf/dnf_package.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>

#include <utility>

namespace zant::velmora {
namespace {

constexpr bool EXCLUDE = true;
constexpr bool INCLUDE = false;

}  // namespace

using zant::logging::severity_level;

DNF_Package::DNF_Package(std::shared_ptr<System> system, std::shared_ptr<Package_Config> package_config)
    : system_(std::move(system)), package_config_(std::move(package_config)) {
  log_.init_("DNF_Package", "");
  verify_dnf_is_available_();
}

bool DNF_Package::locked() const {
  return !command_succeeds(*system_, DNF_Constants::LOCK_QUERY);
}

bool DNF_Package::lock() {
  return set_package_exclusion_(EXCLUDE);
}

bool DNF_Package::unlock() {
  return set_package_exclusion_(INCLUDE);
}

void DNF_Package::initialize_repo_if_necessary() {
  package_config_->setup_repo_if_necessary();
}

void DNF_Package::initialize_unattended_upgrades_if_necessary() {
  package_config_->setup_unattended_upgrades_if_necessary();
}

bool DNF_Package::set_package_exclusion_(bool exclude) {
  const bool succeeded =
      command_succeeds(*system_, exclude ? DNF_Constants::EXCLUDE_PACKAGES : DNF_Constants::INCLUDE_PACKAGES);
  ZANT_LOG(log_, succeeded ? severity_level::notice : severity_level::error)
      << fmt::format("{} {} packages to be {} automatic upgrades", succeeded ? "Set" : "Failed to set",
                     Package_Constants::PACKAGE_NAME, exclude ? "excluded from" : "included with");
  return succeeded;
}

void DNF_Package::verify_dnf_is_available_() {
  if (command_succeeds(*system_, DNF_Constants::DNF_PRESENCE)) {
    return;
  }
  ZANT_LOG(log_, severity_level::warning)
      << "The DNF package manager is not available on this system. In order to use the package management "
         "feature, DNF must be installed.";
  throw_host_step_failed("The DNF package manager is not available");
}

}  // namespace zant::velmora
