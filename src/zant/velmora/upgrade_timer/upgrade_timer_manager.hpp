#pragma once

#include <zant/velmora/export.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace zant::velmora {

/// Keeps the host's automatic-upgrade timer in step with the wanted schedule.
///
/// Not synchronised: the package configuration that holds the manager serialises the calls.
class PACKAGE_MINDER_EXPORT Upgrade_Timer_Manager {
 public:
  /// The two drop-ins that shift when the timer fires. A plain value; nothing validates it.
  struct PACKAGE_MINDER_EXPORT Timer_Config {
    /// One drop-in.
    struct Info {
      boost::filesystem::path source;  ///< the staged file; its file name is its template's name
      boost::filesystem::path target;  ///< where it is installed, inside `override_dir`
      std::string value;  ///< what goes into the template; empty: not overridden, nothing is staged
    };

    Info on_calendar;                      ///< systemd calendar expression
    Info randomized_delay;                 ///< systemd time span
    boost::filesystem::path override_dir;  ///< the timer's drop-in directory

    /// Both targets, calendar first, whether or not they exist or have values.
    std::vector<boost::filesystem::path> get_target_files() const;
  };

  virtual ~Upgrade_Timer_Manager() = default;

  /// A copy of the record that the manager works with.
  virtual Timer_Config get_timer_config() const = 0;

  /// Installs or refreshes the drop-ins and makes sure that the timer runs.
  /// @throws Internal_Error<std::runtime_error> when that fails.
  virtual void initialize_timer() = 0;

  /// Removes the installed drop-ins. True when there was something to remove.
  virtual bool restore_timer() = 0;
};

}  // namespace zant::velmora
