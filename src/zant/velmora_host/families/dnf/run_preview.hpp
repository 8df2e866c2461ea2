#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host::dnf_outlook {

/// What dnf-automatic would do with the package, asked of DNF's own library by a program of its language.
struct Run_Preview {
  std::string installed;
  std::string offered;
  bool newer_is_offered = false;
  std::optional<std::chrono::system_clock::time_point> refreshed;
  std::string address;  ///< the repository's first one; empty when it is not known
  std::vector<nlohmann::json> obstacles;

  /// What DNF writes the number of its process to while it works.
  std::vector<std::string> lock_files = {"/var/cache/dnf/metadata_lock.pid",
                                         "/var/cache/dnf/download_lock.pid", "/var/lib/dnf/rpmdb_lock.pid",
                                         "/var/log/log_lock.pid"};

  /// Why there is no answer; then nothing else is known.
  std::optional<Cause> failure;
};

/// Asks. Never throws for what the tools print.
///
/// @param arguments the words with which the host's service starts dnf-automatic, the program first.
Run_Preview preview_run(const Outlook_Question& question, const std::vector<std::string>& arguments);

}  // namespace zant::velmora_host::dnf_outlook
