#pragma once

#include <zant/logging/severity_level.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <boost/filesystem/path.hpp>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// Where settings come from, beside the defaults.
struct Settings_Sources {
  boost::filesystem::path file;
  bool file_is_required = false;  ///< a missing file is a fault, because somebody named it

  /// Key and value each; they win over the file, and later ones over earlier ones.
  std::vector<std::pair<std::string, std::string>> overrides;
};

enum class Log_Format {
  AUTO,      ///< journal when standard error is connected to the journal, else terminal
  TERMINAL,  ///< for a person
  JOURNAL,   ///< for the service manager's journal, with priorities
};

/// The program's settings, in layers: defaults, the settings file, what the command line sets. All of them
/// are valid, those of the library included. Immutable; the configuration must outlive the library's objects.
class Settings {
 public:
  /// Reads and judges all of it.
  ///
  /// @throws Refusal with one message for each bad setting, or for a file that cannot be read.
  explicit Settings(const Settings_Sources& sources);

  /// For the library, which reads its own keys.
  const Poco::Util::LayeredConfiguration& configuration() const { return *configuration_; }

  /// The settings file, there or not.
  const boost::filesystem::path& file() const noexcept { return file_; }

  std::chrono::seconds interval() const;
  bool automatic_upgrades() const;
  bool purge_on_removal() const;
  boost::filesystem::path staging_directory() const;
  boost::filesystem::path state_directory() const;
  std::chrono::seconds command_time_limit() const;
  std::chrono::seconds command_kill_delay() const;

  /// Where the metrics are written after each cycle; empty when nowhere.
  boost::filesystem::path metrics_file() const;

  zant::logging::severity_level log_level() const;
  Log_Format log_format() const;

 private:
  std::chrono::seconds seconds_(const char* key) const;

  boost::filesystem::path file_;
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> configuration_;
};

}  // namespace zant::velmora_host
