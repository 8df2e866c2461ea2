#pragma once

#include <zant/velmora_host/export.hpp>

#include <zant/logging/severity_level.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/AbstractConfiguration.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <boost/filesystem/path.hpp>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// Where the value of a setting comes from; a later one wins over an earlier one.
enum class Setting_Source {
  DEFAULT,    ///< nothing is set
  FILE,       ///< the settings file
  SERVER,     ///< the configuration of the server that embeds the library
  OVERRIDES,  ///< --set, or what a server puts in its place
};

/// For programs: "default", "file", "server" or "overrides".
PACKAGE_MINDER_HOST_EXPORT const char* to_string(Setting_Source source);

/// What settings are read from, beside the defaults.
struct Settings_Sources {
  boost::filesystem::path file;
  bool file_is_required = false;  ///< whether a missing file is a fault, because somebody named it

  /// Key and value each; they win over everything else, and later ones over earlier ones.
  std::vector<std::pair<std::string, std::string>> overrides = {};

  /// The configuration of the server that embeds the library; may be null. It wins over the file. Only its
  /// groups "minder" and "package" are read, once; it is not needed afterwards.
  Poco::AutoPtr<Poco::Util::AbstractConfiguration> server = {};
  std::string server_name = "the server's configuration";  ///< for messages
};

enum class Log_Format {
  AUTO,      ///< journal when standard error is connected to the journal, else terminal
  TERMINAL,  ///< for a person
  JOURNAL,   ///< for the service manager's journal, with priorities
};

/// A setting with the value that is in force.
struct Effective_Setting {
  std::string key;
  std::string value;  ///< empty where nothing is set and the library chooses
  Setting_Source source = Setting_Source::DEFAULT;
  std::string place;  ///< "FILE:LINE", "--set" or the name of the server's configuration; empty for defaults

  bool operator==(const Effective_Setting&) const = default;
};

/// The settings of the program, or of a server, and those of the library, in layers: defaults, file, server,
/// overrides. All of them are valid. Immutable; a copy is cheap and shares everything with the original, and
/// any thread may read it.
class PACKAGE_MINDER_HOST_EXPORT Settings {
 public:
  /// Reads and judges all settings.
  ///
  /// @throws Refusal BAD_SETTINGS with one finding for each bad setting, or for a file that cannot be read.
  explicit Settings(const Settings_Sources& sources);

  /// For the library, which reads its own keys. Keys that are set to nothing are not in it. Lives as long as
  /// any copy of these settings, which must outlive the library's objects.
  const Poco::Util::LayeredConfiguration& configuration() const;

  /// The settings file, whether or not it exists.
  const boost::filesystem::path& file() const noexcept;

  /// Every setting that there is, in the order of the manual. Lives as long as any copy of these settings.
  const std::vector<Effective_Setting>& all() const noexcept;

  /// Time between the end of a cycle and the start of the next.
  std::chrono::seconds interval() const;
  bool automatic_upgrades() const;
  bool purge_on_removal() const;

  /// Patterns of the packages that may come from the repository; empty when all may.
  std::vector<std::string> repository_packages() const;
  boost::filesystem::path staging_directory() const;
  boost::filesystem::path state_directory() const;
  std::chrono::seconds command_time_limit() const;

  /// Time between SIGTERM and SIGKILL for a command that is being ended.
  std::chrono::seconds command_kill_delay() const;

  /// Where metrics are written after each cycle; empty when nowhere.
  boost::filesystem::path metrics_file() const;

  /// How long a newer version may be offered without being installed.
  std::chrono::hours overdue_after() const;

  /// Longest time between two verdicts of a service.
  std::chrono::seconds verdict_interval() const;

  zant::logging::severity_level log_level() const;
  Log_Format log_format() const;

 private:
  struct Data;

  std::chrono::seconds seconds_(const char* key) const;

  std::shared_ptr<const Data> data_;
};

}  // namespace zant::velmora_host
