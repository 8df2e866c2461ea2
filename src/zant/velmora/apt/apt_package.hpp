#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <memory>

namespace zant::velmora {

/// The package on an APT host; its hold is the one of `apt-mark`.
class PACKAGE_MINDER_EXPORT APT_Package : public Package {
 public:
  /// Keeps both; runs and checks nothing.
  APT_Package(std::shared_ptr<System> system, std::shared_ptr<Package_Config> package_config);

  /// False too when apt-mark cannot be asked: the two cases are not told apart.
  bool locked() const override;
  bool lock() override;
  bool unlock() override;
  void initialize_repo_if_necessary() override;
  void initialize_unattended_upgrades_if_necessary() override;

 private:
  enum class APT_Mark_Option { HOLD = 0, UNHOLD = 1 };

  bool apt_mark_set_(APT_Mark_Option option);

  zant::logging::Source log_;
  std::shared_ptr<System> system_;
  std::shared_ptr<Package_Config> package_config_;
};

}  // namespace zant::velmora
