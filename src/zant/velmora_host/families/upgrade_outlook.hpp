#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/package_minder/init.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What a cause does to the upgrade of the package.
enum class Cause_Effect {
  BLOCKS,   ///< the next run of the host's upgrades does not install the newest version, or not the next one
  OBSCURES  ///< what the repository offers, or what the next run will do, cannot be told
};

/// Why the package does not upgrade on a host, or why that cannot be told.
struct Cause {
  Cause_Effect effect;
  std::string code;      ///< "topic.state"; stays the same when the words change
  std::string message;   ///< one sentence
  std::string evidence;  ///< file and line, or the command and the words that it printed
  std::string remedy;    ///< the command to type; a sentence where no command helps

  /// It stands in the host's configuration, and no cycle puts it right: a check names it before the first
  /// cycle too.
  bool is_of_configuration = false;
};

using Causes = std::vector<Cause>;

/// How the last run of the host's own upgrade service ended.
struct Upgrade_Run {
  std::chrono::system_clock::time_point ended;
  bool succeeded = false;
  std::string result;  ///< in the service manager's words, "success", "exit-code"
};

/// What a family finds out about the upgrades of the package on a host, from what the host knows.
struct Upgrade_Outlook {
  std::string installed;  ///< empty when the package is not installed, or the tools do not tell
  std::string offered;  ///< the newest version that the repository is known to have; empty when none is known
  bool newer_is_offered = false;  ///< `offered` is newer than `installed`, as the package manager compares

  /// When the repository last answered; nothing when it never did, or that is unknown.
  std::optional<std::chrono::system_clock::time_point> refreshed;

  /// When the host's upgrades run next; nothing when nothing starts them, or that is unknown.
  std::optional<std::chrono::system_clock::time_point> next_run;

  std::optional<Upgrade_Run> last_run;
  Causes causes;
};

/// Files as they will be: their texts, and nothing for those that go.
using Planned_Files = std::map<boost::filesystem::path, std::optional<std::string>>;

/// What a family is asked about the upgrades of the package on a host.
struct Outlook_Question {
  const Settings& settings;
  Host_Services services;
  velmora::Init init;

  /// An empty directory for what the tools must not write on the host; deleted afterwards.
  boost::filesystem::path private_directory;

  /// Whether the repository itself may be asked. Otherwise no network is used.
  bool online = false;

  std::chrono::system_clock::time_point now;

  /// What the next cycle does to the host's files, for an answer about the host after it. Empty for the host
  /// as it is.
  Planned_Files planned = {};
};

}  // namespace zant::velmora_host
