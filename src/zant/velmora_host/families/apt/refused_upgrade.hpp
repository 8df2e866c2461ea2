#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>
#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// Why unattended-upgrade, as it went through its work, would not install the judged version.
/// @param configuration a file of APT settings for questions, which win over the host's
/// @param upgrade       what it said and did
/// @param known         causes that may explain it already
std::optional<Cause> find_refused_upgrade(const Outlook_Question& question,
                                          const boost::filesystem::path& configuration,
                                          const APT_Settings& settings, const nlohmann::json& upgrade,
                                          const std::string& judged, const Causes& known);

}  // namespace zant::velmora_host::apt_outlook
