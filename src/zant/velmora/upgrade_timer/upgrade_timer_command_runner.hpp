#pragma once

#include <zant/velmora/export.hpp>

namespace zant::velmora {

/// What the timer manager needs to do with the host's upgrade timer, as commands of one package-manager
/// family. A failing command is a false result, never an exception.
class PACKAGE_MINDER_EXPORT Upgrade_Timer_Command_Runner {
 public:
  virtual ~Upgrade_Timer_Command_Runner() = default;

  /// True when the timer was started or already ran.
  virtual bool start_timer() const = 0;

  /// True when systemd reports that the timer's unit files changed since they were loaded; false too when
  /// systemd cannot be asked.
  virtual bool timer_needs_reload() const = 0;

  /// True when systemd reloaded its units and restarted the timer.
  virtual bool reload_timer() const = 0;

  /// True when the timer is active.
  virtual bool timer_is_running() const = 0;
};

}  // namespace zant::velmora
