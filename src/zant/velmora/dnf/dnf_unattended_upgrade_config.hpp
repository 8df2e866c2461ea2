#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <memory>

namespace zant::velmora {

/// How automatic upgrades are to be set up on a DNF host.
struct PACKAGE_MINDER_EXPORT DNF_Unattended_Upgrade_Config {
  /// Shares the manager, which must not be null.
  DNF_Unattended_Upgrade_Config(std::shared_ptr<Upgrade_Timer_Manager> timer_manager, bool enabled);

  std::shared_ptr<Upgrade_Timer_Manager> timer_manager;  ///< of dnf-automatic-install.timer
  bool enabled;                                          ///< whether they are to be set up at all
};

}  // namespace zant::velmora
