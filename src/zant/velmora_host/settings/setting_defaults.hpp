#pragma once

#include <string>

namespace zant::velmora_host {

/// Kinds of systems.
enum class Setting_System { ANY, POSIX, WINDOWS };

/// The values that settings have by default in this build. Empty where there is none.
struct Setting_Defaults {
  Setting_System system = Setting_System::POSIX;  ///< what they are for

  std::string settings_file;
  std::string staging_directory;
  std::string state_directory;
  std::string base_directory;

  std::string apt_url;
  std::string apt_url_without_systemd;
  std::string apt_channel;
  std::string apt_channel_without_systemd;
  std::string apt_origins_pattern;
  std::string apt_bandwidth_limit;

  std::string dnf_url;
  std::string dnf_channel;
  std::string dnf_gpg_key;
  bool dnf_gpg_key_is_shipped = false;  ///< it is a file that is installed with the staging tree
  std::string dnf_throttle;

  std::string choco_source_location;  ///< of the default channel
  std::string choco_channel;
  std::string choco_schedule;
};

/// Those of this build on this kind of host.
Setting_Defaults setting_defaults();

/// The same, as if this file of the host were the shipped key of the DNF repository; empty when none is.
Setting_Defaults setting_defaults(const std::string& shipped_dnf_key);

}  // namespace zant::velmora_host
