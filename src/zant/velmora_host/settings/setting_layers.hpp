#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// A setting as it was written somewhere.
struct Written_Setting {
  std::string key;
  std::string value;
  Setting_Source source;
  std::string place;  ///< for messages: "FILE:LINE", "--set", or the name of the server's configuration
};

/// All settings that were written anywhere.
struct Setting_Layers {
  std::vector<Written_Setting> settings;  ///< later ones win over earlier ones
  Findings faults;                        ///< lines that are no settings
};

/// Reads the file, the server's configuration and the overrides. Judges neither keys nor values.
///
/// @throws Refusal for a file that cannot be read.
Setting_Layers read_setting_layers(const Settings_Sources& sources);

}  // namespace zant::velmora_host
