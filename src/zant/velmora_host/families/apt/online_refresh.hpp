#pragma once

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

#include <optional>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// What the repository itself answers.
struct Online_Refresh {
  /// A private directory of package lists, the host's with the repository's fresh ones; nothing when the
  /// repository did not answer as it should.
  std::optional<boost::filesystem::path> lists;

  Causes causes;
};

/// Refreshes the lists of the vendor's repository alone, in private directories.
Online_Refresh refresh_online(const Outlook_Question& question, const boost::filesystem::path& configuration,
                              const APT_Settings& settings);

/// Fetches the package of a version, as far as it comes in a short time, and tells why that fails. What has
/// come whole is left in `archives`.
Causes find_missing_package(const Outlook_Question& question, const boost::filesystem::path& configuration,
                            const std::string& version, const boost::filesystem::path& archives);

}  // namespace zant::velmora_host::apt_outlook
