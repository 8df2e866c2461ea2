#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_command_runner.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <memory>

namespace zant::velmora {

/// The systemd implementation: while drop-ins are staged it keeps the timer's drop-in directory identical
/// with them, and when none are it takes installed ones out again.
///
/// Holds no state of its own; every call looks at the files afresh.
class PACKAGE_MINDER_EXPORT Linux_Upgrade_Timer_Manager : public Upgrade_Timer_Manager {
 public:
  /// Keeps the services and a copy of the record; touches nothing.
  Linux_Upgrade_Timer_Manager(std::shared_ptr<Filesystem> filesystem,
                              std::shared_ptr<Upgrade_Timer_Command_Runner> command_runner,
                              const Timer_Config& timer_config);

  Timer_Config get_timer_config() const override;

  /// Installs the staged drop-ins where they differ from the installed ones, and makes sure that the timer
  /// runs with them. An install replaces the drop-in directory whole: while overrides are installed the
  /// directory belongs to this manager. With nothing staged, restores the timer or makes sure that it runs.
  ///
  /// @throws Internal_Error<std::runtime_error> "Failed to start upgrade timer", "Failed to reload upgrade
  ///         timer" (the files are in step then), or "Failed to install upgrade timer overrides" (everything
  ///         installed has been taken out again).
  void initialize_timer() override;

  /// Removes both drop-ins and reloads the timer; a failed reload is logged only. A drop-in directory that
  /// holds somebody else's files stays.
  bool restore_timer() override;

 private:
  struct Staged {
    bool on_calendar;
    bool randomized_delay;
  };

  bool timer_override_files_exist_() const;
  void remove_timer_override_dir_if_empty_();
  bool overrides_in_sync_(const Staged& staged) const;
  bool in_sync_(const Timer_Config::Info& info, bool staged) const;
  void restore_or_start_timer_();
  void ensure_timer_is_running_();
  void install_overrides_(const Staged& staged);
  bool copy_overrides_(const Staged& staged);
  bool copy_override_(const Timer_Config::Info& info);

  zant::logging::Source log_;
  std::shared_ptr<Filesystem> filesystem_;
  std::shared_ptr<Upgrade_Timer_Command_Runner> command_runner_;
  Timer_Config timer_config_;
};

}  // namespace zant::velmora
