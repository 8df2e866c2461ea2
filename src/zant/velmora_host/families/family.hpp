#pragma once

#include <zant/velmora_host/base/check_report.hpp>
#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/families/command_traits.hpp>
#include <zant/velmora_host/families/cycle_failure.hpp>
#include <zant/velmora_host/families/displaced_setting.hpp>
#include <zant/velmora_host/families/file_kind.hpp>
#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/families/package_state.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/staging/keyring.hpp>
#include <zant/velmora_host/staging/staging_layout.hpp>

#include <zant/velmora/package_minder/init.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

#include <boost/filesystem/path.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// What the library leaves on a host until it is purged.
struct Installed_Paths {
  std::vector<boost::filesystem::path> repository;  ///< what registers the repository
  std::vector<boost::filesystem::path> upgrades;    ///< for automatic upgrades, beside the host's own files
};

/// A command that the library needs on a host, and the package that brings it.
struct Required_Tool {
  std::string name;
  std::string package;
};

/// A command of the library's that has ended.
struct Ended_Command {
  std::string line;
  int exit_code;
};

/// What the library was doing when a command ended: some failures matter in a cycle only.
enum class Occasion { CYCLE, PURGE };

/// All that the host side knows of one family of package managers: the only place that names its command
/// lines, files, tools and units. What the library itself decides is not repeated here; an object of this
/// class explains it.
///
/// Stateless; owned by a `Family_Registry`. Safe to call from several threads. Operations that take services
/// may run commands and read files, and change nothing.
class Family {
 public:
  virtual ~Family() = default;

  virtual velmora::Package_Config_Type type() const = 0;

  /// As reports show it.
  virtual std::string name() const = 0;

  /// Whether a host is of this family, judged as the library judges it.
  virtual bool matches(velmora::Filesystem& filesystem) const = 0;

  /// The library's objects for a host of this family.
  ///
  /// @param settings outlives the factory and what it makes.
  virtual std::unique_ptr<Package_Factory> create_package_factory(
      const Host_Services& services, const Settings& settings,
      const boost::filesystem::path& staging_directory) const = 0;

  /// What keeps a host of this family from being minded with these settings, beside the staging tree.
  virtual Findings find_setting_faults(const Settings& settings) const = 0;

  /// @name Command lines
  /// @{

  /// What one of the library's command lines does.
  virtual Command_Traits traits_of(const std::string& line) const = 0;

  /// The failure that a command's end means, for the ends that the library goes on after: what it reports by
  /// throwing is not repeated here. Called right after the command, before the library acts on it.
  virtual std::optional<Cycle_Failure> failure_of(const Ended_Command& command, Occasion occasion,
                                                  const Host_Services& services) const = 0;

  /// For a plan: the exit code that a query would have after the changes planned so far; nothing when they do
  /// not matter to it.
  ///
  /// @param planned the files as the plan has them.
  /// @param real    the files as they are.
  virtual std::optional<int> planned_exit_code_of(const std::string& query, velmora::Filesystem& planned,
                                                  velmora::Filesystem& real) const = 0;

  /// The form in which a report runs a query of the library's: it must neither use the network nor wait for
  /// it, and answers from what the host knows.
  virtual std::string report_form_of(const std::string& query) const { return query; }

  /// The form of a command line that fetches what can be of any size: what it fetches lies in the directory
  /// alone, and is at most `Contained_Fetches::LARGEST` bytes. Nothing for all other command lines.
  virtual std::optional<std::string> contained_form_of(const std::string& /*line*/,
                                                       const boost::filesystem::path& /*directory*/) const {
    return std::nullopt;
  }

  /// Variables that this family's command lines need, beside what the command service gives to all.
  virtual std::map<std::string, std::string> command_environment() const = 0;

  /// @}
  /// @name Files
  /// @{

  virtual File_Kind kind_of(const boost::filesystem::path& file) const = 0;
  virtual Installed_Paths installed_paths() const = 0;
  virtual Staging_Layout staging_layout() const = 0;

  /// Where the library keeps copies of the host's own files, which may hold what only root may read.
  virtual std::vector<boost::filesystem::path> private_directories() const = 0;

  /// Directories of the package manager's that the library writes into.
  virtual std::vector<boost::filesystem::path> directories() const = 0;

  /// @}
  /// @name The host's machinery
  /// @{

  virtual std::vector<Required_Tool> required_tools() const = 0;

  /// The systemd units that automatic upgrades need.
  virtual std::vector<std::string> units() const = 0;

  /// The systemd timer that starts automatic upgrades; empty when none does.
  virtual std::string upgrade_timer() const = 0;

  /// The settings of the timer's schedule start with this, for example "package.apt.upgrade_timer"; empty
  /// when there are none.
  virtual std::string schedule_settings() const = 0;

  /// @}
  /// @name What reports ask
  /// @{

  virtual bool is_repository_registered(const Host_Services& services, const Settings& settings) const = 0;
  virtual Package_Versions find_versions(const Host_Services& services, const Settings& settings) const = 0;

  /// The query that the library finds a hold with, and what its answer says. `services` must still be as
  /// the query found them.
  virtual std::string hold_query(const Settings& settings) const = 0;
  virtual Hold_State hold_state_of(const velmora::Command_Result& answer,
                                   const Host_Services& services) const = 0;

  /// The keys that the repository's signatures are checked with; nothing when they cannot be read.
  virtual std::optional<std::vector<Signing_Key>> read_keys(
      const Host_Services& services, const boost::filesystem::path& staging_tree) const = 0;

  /// The keys that the package manager checks packages with, one text for each, sorted; nothing when it keeps
  /// none of its own, or does not tell.
  virtual std::optional<std::vector<std::string>> trusted_keys(const Host_Services& services) const = 0;

  /// The keys of `trusted_keys` themselves; nothing when the package manager keeps none of its own, or they
  /// cannot be read.
  virtual std::optional<std::vector<Signing_Key>> read_installed_keys(
      const Host_Services& /*services*/) const {
    return std::nullopt;
  }

  /// What must be put right before a cycle can begin; nothing when nothing must.
  virtual std::optional<Finding> find_cycle_obstacle(const Host_Services& services) const = 0;

  /// What keeps upgrades from being trustworthy or from arriving although the registration is in step:
  /// findings of a check, and reasons of a status.
  virtual Findings find_weaknesses(const Settings& settings, const Host_Services& services,
                                   velmora::Init init) const = 0;

  /// The host's own files that automatic upgrades take the place of.
  virtual std::vector<boost::filesystem::path> replaced_files() const = 0;

  /// What one of these files says and the text in its place does not; nothing once the files are the
  /// library's.
  virtual std::vector<Displaced_Setting> find_displaced_settings(const boost::filesystem::path& file,
                                                                 const std::string& before,
                                                                 const std::string& after,
                                                                 velmora::Filesystem& filesystem) const = 0;

  /// Adds what this family finds wrong with a host, beyond tools, units, directories and what the operations
  /// above find.
  virtual void check(const Settings& settings, const Host_Services& services, velmora::Init init,
                     Check_Report& report) const = 0;

  /// @}
  /// @name What the verdict asks
  /// @{

  /// What becomes of the package in the next runs of the host's own upgrades. Everything that goes wrong on
  /// the way is a cause; nothing is guessed.
  virtual Upgrade_Outlook find_upgrade_outlook(const Outlook_Question& question) const = 0;

  /// Files and directories that an outlook depends on: the package manager's configuration, what it knows of
  /// its repositories, and its database of packages.
  virtual std::vector<boost::filesystem::path> outlook_inputs() const = 0;

  /// @}
  /// @name What a refresh leaves
  /// @{

  /// What the last refresh has left of our repository. A loss of power may have torn it, and the package
  /// manager would take it for what the repository still offers. Empty when the package manager looks itself.
  virtual std::vector<boost::filesystem::path> find_refreshed_files(const Settings& /*settings*/,
                                                                    Host_Filesystem& /*filesystem*/) const {
    return {};
  }

  /// A command line after which what a refresh has left outlives a loss of power; empty when none is needed.
  virtual std::string refresh_keeping_line() const { return ""; }

  /// @}
  /// @name What an installation leaves
  /// @{

  /// Files and directories that change while the package manager fetches and installs packages: its caches,
  /// its database and its logs.
  virtual std::vector<boost::filesystem::path> installation_traces() const = 0;

  /// @}
};

}  // namespace zant::velmora_host
