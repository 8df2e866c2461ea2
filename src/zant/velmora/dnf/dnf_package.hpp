#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora {

/// The package on a DNF host; its hold is the `exclude` option of the product's repository.
class PACKAGE_MINDER_EXPORT DNF_Package : public Package {
 public:
  /// Keeps both and makes sure that the host has dnf.
  ///
  /// @throws Internal_Error<std::runtime_error> "The DNF package manager is not available".
  DNF_Package(std::shared_ptr<System> system, std::shared_ptr<Package_Config> package_config);

  /// True when the repository shows no package: it is excluded, or it could not be asked. The two cases are
  /// not told apart.
  bool locked() const override;
  bool lock() override;
  bool unlock() override;
  void initialize_repo_if_necessary() override;
  void initialize_unattended_upgrades_if_necessary() override;

 private:
  bool set_package_exclusion_(bool exclude);
  void verify_dnf_is_available_();

  zant::logging::Source log_;
  std::shared_ptr<System> system_;
  std::shared_ptr<Package_Config> package_config_;
};

}  // namespace zant::velmora
