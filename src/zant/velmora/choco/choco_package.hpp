#pragma once

#include <zant/velmora/choco/virtual_choco_exe.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora {

/// The package on a Windows host; its hold is a Chocolatey pin.
class PACKAGE_MINDER_EXPORT Choco_Package : public Package {
 public:
  /// Shares both; runs nothing.
  Choco_Package(std::shared_ptr<Virtual_Choco_Exe> choco_exe, std::shared_ptr<Package_Config> package_config);

  bool locked() const override;
  bool lock() override;
  bool unlock() override;
  void initialize_repo_if_necessary() override;
  void initialize_unattended_upgrades_if_necessary() override;

 private:
  std::shared_ptr<Virtual_Choco_Exe> choco_exe_;
  std::shared_ptr<Package_Config> package_config_;
};

}  // namespace zant::velmora
