#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/package_minder/init.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Each setting in force, where it comes from, and whether the running service has it already.
struct Settings_Report {
  /// The process that works in the state directory.
  enum class Service {
    NOT_RUNNING,
    RUNNING,  ///< the settings that it started with are known
    UNKNOWN,  ///< a process works there that has not said with which settings
  };

  struct Row {
    std::string key;
    std::string value;  ///< empty when there is none
    std::string note;   ///< what an empty value means, in words
    Setting_Source source = Setting_Source::DEFAULT;
    std::string place;          ///< as in Effective_Setting
    std::string service_value;  ///< what the service has; only while it is RUNNING

    bool operator==(const Row&) const = default;
  };

  boost::filesystem::path file;
  bool file_exists = false;
  Service service = Service::NOT_RUNNING;
  std::string process;  ///< the id of the process; empty without one
  std::vector<Row>
      rows;  ///< those that have an effect on this system, or are set, in the order of the manual

  /// Whether the service runs with other settings than these.
  PACKAGE_MINDER_HOST_EXPORT bool needs_restart() const;
};

/// Looks at the host. Changes nothing, and does not wait for a running service.
///
/// @throws std::system_error when the lock of the state directory cannot be read.
PACKAGE_MINDER_HOST_EXPORT Settings_Report make_settings_report(const Settings& settings,
                                                                const Host_Services& services);

/// The same with what it depends on.
///
/// @param filesystem for the state directory.
/// @param init       of this host, on which some defaults depend.
/// @param holder     the id of the process that holds the state directory's lock; empty when none does.
Settings_Report make_settings_report(const Settings& settings, velmora::Filesystem& filesystem,
                                     velmora::Init init, const std::string& holder);

/// The JSON document "package-minder/settings".
PACKAGE_MINDER_HOST_EXPORT std::string to_json_text(const Settings_Report& report);

/// For a person, in 80 columns where values and paths permit.
PACKAGE_MINDER_HOST_EXPORT std::string to_text(const Settings_Report& report);

}  // namespace zant::velmora_host
