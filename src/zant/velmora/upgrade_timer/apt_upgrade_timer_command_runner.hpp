#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_command_runner.hpp>

#include <memory>
#include <string>

namespace zant::velmora {

/// The commands for `apt-daily-upgrade.timer`.
class PACKAGE_MINDER_EXPORT APT_Upgrade_Timer_Command_Runner : public Upgrade_Timer_Command_Runner {
 public:
  explicit APT_Upgrade_Timer_Command_Runner(std::shared_ptr<System> system);

  bool start_timer() const override;
  bool timer_needs_reload() const override;
  bool reload_timer() const override;
  bool timer_is_running() const override;

 private:
  std::shared_ptr<System> system_;
};

}  // namespace zant::velmora
