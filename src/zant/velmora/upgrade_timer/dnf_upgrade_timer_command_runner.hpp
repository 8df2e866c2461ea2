#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_command_runner.hpp>

#include <memory>

namespace zant::velmora {

/// The commands for `dnf-automatic-install.timer`. The package ships sibling timers with schedules of their
/// own; they are disabled before every start and reload, and a failure of that is ignored.
class PACKAGE_MINDER_EXPORT DNF_Upgrade_Timer_Command_Runner : public Upgrade_Timer_Command_Runner {
 public:
  explicit DNF_Upgrade_Timer_Command_Runner(std::shared_ptr<System> system);

  bool start_timer() const override;
  bool timer_needs_reload() const override;
  bool reload_timer() const override;
  bool timer_is_running() const override;

 private:
  void disable_conflicting_dnf_automatic_timers_() const;

  std::shared_ptr<System> system_;
};

}  // namespace zant::velmora
