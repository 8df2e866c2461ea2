#pragma once

#include <zant/velmora_host/families/family.hpp>

namespace zant::velmora_host {

/// Hosts of the RHEL family.
class DNF_Family : public Family {
 public:
  velmora::Package_Config_Type type() const override;
  std::string name() const override;
  bool matches(velmora::Filesystem& filesystem) const override;
  std::unique_ptr<Package_Factory> create_package_factory(
      const Host_Services& services, const Settings& settings,
      const boost::filesystem::path& staging_directory) const override;
  Findings find_setting_faults(const Settings& settings) const override;

  Command_Traits traits_of(const std::string& line) const override;
  std::optional<Cycle_Failure> failure_of(const Ended_Command& command, Occasion occasion,
                                          const Host_Services& services) const override;
  std::optional<int> planned_exit_code_of(const std::string& query, velmora::Filesystem& planned,
                                          velmora::Filesystem& real) const override;
  std::string report_form_of(const std::string& query) const override;
  std::optional<std::string> contained_form_of(const std::string& line,
                                               const boost::filesystem::path& directory) const override;
  std::map<std::string, std::string> command_environment() const override;

  File_Kind kind_of(const boost::filesystem::path& file) const override;
  Installed_Paths installed_paths() const override;
  Staging_Layout staging_layout() const override;
  std::vector<boost::filesystem::path> private_directories() const override;
  std::vector<boost::filesystem::path> directories() const override;

  std::vector<Required_Tool> required_tools() const override;
  std::vector<std::string> units() const override;
  std::string upgrade_timer() const override;
  std::string schedule_settings() const override;

  bool is_repository_registered(const Host_Services& services, const Settings& settings) const override;
  Package_Versions find_versions(const Host_Services& services, const Settings& settings) const override;
  std::string hold_query(const Settings& settings) const override;
  Hold_State hold_state_of(const velmora::Command_Result& answer,
                           const Host_Services& services) const override;
  std::optional<std::vector<Signing_Key>> read_keys(
      const Host_Services& services, const boost::filesystem::path& staging_tree) const override;
  std::optional<std::vector<std::string>> trusted_keys(const Host_Services& services) const override;
  std::optional<std::vector<Signing_Key>> read_installed_keys(const Host_Services& services) const override;
  std::optional<Finding> find_cycle_obstacle(const Host_Services& services) const override;
  Findings find_weaknesses(const Settings& settings, const Host_Services& services,
                           velmora::Init init) const override;
  std::vector<boost::filesystem::path> replaced_files() const override;
  std::vector<Displaced_Setting> find_displaced_settings(const boost::filesystem::path& file,
                                                         const std::string& before, const std::string& after,
                                                         velmora::Filesystem& filesystem) const override;
  void check(const Settings& settings, const Host_Services& services, velmora::Init init,
             Check_Report& report) const override;
  Upgrade_Outlook find_upgrade_outlook(const Outlook_Question& question) const override;
  std::vector<boost::filesystem::path> outlook_inputs() const override;
  std::vector<boost::filesystem::path> installation_traces() const override;
};

}  // namespace zant::velmora_host
