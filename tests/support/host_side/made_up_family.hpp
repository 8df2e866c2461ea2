#pragma once

#include <zant/velmora_host/families/family_registry.hpp>

#include <support/host_side/host_in_directory.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A family that there is not: for tests of what is the same for all of them.
namespace zant::velmora_host::test_support {

inline constexpr auto TYPE = static_cast<velmora::Package_Config_Type>(7);
inline constexpr const char* REPOSITORY_FILE = "/etc/parcel/velmora.conf";
inline constexpr const char* IS_HELD = "parcel held";
inline constexpr const char* RELEASE = "parcel release";
inline constexpr const char* START_TIMER = "systemctl start parcel.timer";

class Parcel_Config : public velmora::Package_Config {
 public:
  Parcel_Config(const Host_Services& services, const boost::filesystem::path& staging_directory)
      : services_(services), staged_file_(staging_directory / "parcel") {
    services_.filesystem->write_file(staged_file_, "the repository\n", velmora::Write_Flag::REPLACE);
  }

  velmora::Package_Config_Type type() const override { return TYPE; }
  void setup_repo_if_necessary() override {
    if (!services_.filesystem->files_equal(staged_file_, REPOSITORY_FILE)) {
      services_.filesystem->copy_file(staged_file_, REPOSITORY_FILE,
                                      velmora::Copy_Option::OVERWRITE_EXISTING);
    }
  }
  void setup_unattended_upgrades_if_necessary() override {
    velmora::command_succeeds(*services_.system, START_TIMER);
  }
  void purge_unattended_upgrade_configuration() override {}
  void purge_all_configurations() override {
    services_.filesystem->remove(boost::filesystem::path(REPOSITORY_FILE));
  }

 private:
  Host_Services services_;
  boost::filesystem::path staged_file_;
};

class Parcel_Package : public velmora::Package {
 public:
  Parcel_Package(std::shared_ptr<velmora::System> system, std::shared_ptr<velmora::Package_Config> config)
      : system_(std::move(system)), config_(std::move(config)) {}

  bool locked() const override { return velmora::command_succeeds(*system_, IS_HELD); }
  bool lock() override { return false; }
  bool unlock() override { return velmora::command_succeeds(*system_, RELEASE); }
  void initialize_repo_if_necessary() override { config_->setup_repo_if_necessary(); }
  void initialize_unattended_upgrades_if_necessary() override {
    config_->setup_unattended_upgrades_if_necessary();
  }

 private:
  std::shared_ptr<velmora::System> system_;
  std::shared_ptr<velmora::Package_Config> config_;
};

class Parcel_Factory : public Package_Factory {
 public:
  Parcel_Factory(const Host_Services& services, const boost::filesystem::path& staging_directory)
      : services_(services), staging_directory_(staging_directory) {}

  std::shared_ptr<velmora::Package_Config> create_package_config(bool /*automatic_upgrades*/) const override {
    return std::make_shared<Parcel_Config>(services_, staging_directory_);
  }
  std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const override {
    return std::make_shared<Parcel_Package>(services_.system, std::move(config));
  }

 private:
  Host_Services services_;
  boost::filesystem::path staging_directory_;
};

/// The room of the family.
class Parcel_Family : public Family {
 public:
  velmora::Package_Config_Type type() const override { return TYPE; }
  std::string name() const override { return "Parcel"; }
  bool matches(velmora::Filesystem& filesystem) const override {
    return filesystem.read_file("/etc/os-release", velmora::Read_Flag::WHOLE_TEXT) == "ID=parcel\n";
  }
  std::unique_ptr<Package_Factory> create_package_factory(
      const Host_Services& services, const Settings& /*settings*/,
      const boost::filesystem::path& staging_directory) const override {
    return std::make_unique<Parcel_Factory>(services, staging_directory);
  }
  Findings find_setting_faults(const Settings& /*settings*/) const override { return {}; }
  Command_Traits traits_of(const std::string& line) const override {
    if (line == IS_HELD) {
      return {Command_Kind::QUERY};
    }
    if (line == RELEASE) {
      return {Command_Kind::RELEASES_HOLD};
    }
    return line == START_TIMER ? Command_Traits{Command_Kind::STARTS_TIMER, "parcel timer-runs"}
                               : Command_Traits{};
  }
  std::optional<Cycle_Failure> failure_of(const Ended_Command& command, Occasion /*occasion*/,
                                          const Host_Services& /*services*/) const override {
    return command.line == START_TIMER && command.exit_code != 0
               ? std::optional(Cycle_Failure{Cycle_Step::UPGRADES, "parcel.timer could not be started"})
               : std::nullopt;
  }
  std::optional<int> planned_exit_code_of(const std::string& /*query*/, velmora::Filesystem& /*planned*/,
                                          velmora::Filesystem& /*real*/) const override {
    return std::nullopt;
  }
  std::map<std::string, std::string> command_environment() const override { return {{"PARCEL", "quiet"}}; }
  File_Kind kind_of(const boost::filesystem::path& file) const override {
    return file == REPOSITORY_FILE ? File_Kind::REPOSITORY_FILE : File_Kind::OTHER;
  }
  Installed_Paths installed_paths() const override { return {{REPOSITORY_FILE}, {}}; }
  Staging_Layout staging_layout() const override { return {}; }
  std::vector<boost::filesystem::path> private_directories() const override { return {}; }
  std::vector<boost::filesystem::path> directories() const override { return {"/etc/parcel"}; }
  std::vector<Required_Tool> required_tools() const override { return {{"parcel", "parcel-tools"}}; }
  std::vector<std::string> units() const override { return {"parcel.timer"}; }
  std::string upgrade_timer() const override { return "parcel.timer"; }
  std::string schedule_settings() const override { return ""; }
  bool is_repository_registered(const Host_Services& services, const Settings& /*settings*/) const override {
    return services.filesystem->exists(REPOSITORY_FILE);
  }
  Package_Versions find_versions(const Host_Services& /*services*/,
                                 const Settings& /*settings*/) const override {
    return {"3", "4"};
  }
  std::string hold_query(const Settings& /*settings*/) const override { return IS_HELD; }
  Hold_State hold_state_of(const velmora::Command_Result& answer,
                           const Host_Services& /*services*/) const override {
    return answer.exit_code == 0 ? Hold_State::HELD : Hold_State::NOT_HELD;
  }
  std::optional<std::vector<Signing_Key>> read_keys(
      const Host_Services& /*services*/, const boost::filesystem::path& /*staging_tree*/) const override {
    return std::nullopt;
  }
  std::optional<std::vector<std::string>> trusted_keys(const Host_Services& /*services*/) const override {
    return std::nullopt;
  }
  std::optional<Finding> find_cycle_obstacle(const Host_Services& /*services*/) const override {
    return std::nullopt;
  }
  Findings find_weaknesses(const Settings& /*settings*/, const Host_Services& /*services*/,
                           velmora::Init /*init*/) const override {
    return {{"parcel", "accepts everything", "be choosy", "parcel.weak"}};
  }
  std::vector<boost::filesystem::path> replaced_files() const override { return {REPOSITORY_FILE}; }
  std::vector<Displaced_Setting> find_displaced_settings(const boost::filesystem::path& file,
                                                         const std::string& before,
                                                         const std::string& /*after*/,
                                                         velmora::Filesystem& /*filesystem*/) const override {
    return {{file, "parcel", "loses " + before}};
  }
  void check(const Settings& /*settings*/, const Host_Services& /*services*/, velmora::Init /*init*/,
             Check_Report& report) const override {
    report.findings.push_back({"parcel", "is made up", "none", "parcel.made_up"});
  }
  Upgrade_Outlook find_upgrade_outlook(const Outlook_Question& question) const override {
    return outlook(question);
  }
  std::vector<boost::filesystem::path> outlook_inputs() const override { return {"/etc/parcel"}; }
  std::vector<boost::filesystem::path> installation_traces() const override { return {"/var/log/parcel"}; }

  static Upgrade_Outlook glued(const Outlook_Question& /*question*/) {
    Upgrade_Outlook outlook;
    outlook.installed = "3";
    outlook.offered = "4";
    outlook.newer_is_offered = true;
    outlook.causes = {
        {Cause_Effect::BLOCKS, "parcel.glued", "The parcel is glued", "parcel says so", "unglue"}};
    return outlook;
  }

  /// What becomes of the parcel.
  std::function<Upgrade_Outlook(const Outlook_Question&)> outlook = glued;
};

inline Family_Registry registry_with_parcel(
    std::function<Upgrade_Outlook(const Outlook_Question&)> outlook = Parcel_Family::glued) {
  auto family = std::make_unique<Parcel_Family>();
  family->outlook = std::move(outlook);
  std::vector<std::unique_ptr<Family>> families;
  families.push_back(std::move(family));
  return Family_Registry(std::move(families));
}

/// A host of it, on which nothing has been set up yet.
class Parcel_Host : public Host_In_Directory {
 public:
  Parcel_Host() : Host_In_Directory("ID=parcel\n") {
    services.filesystem->create_directories("/etc/parcel");
    services.filesystem->create_directories("/etc/systemd/system");
    system->on(IS_HELD, 1);
    system->on("parcel timer-runs", 0);
    system->on(START_TIMER, 0);
  }

  /// What the status asks beside a plan and the verdict.
  void answer_status() {
    system->on("systemctl is-active package-minder.service 2> /dev/null", 0, "active\n");
    system->on("systemctl is-active --quiet parcel.timer", 0);
    system->on("systemctl is-enabled parcel.timer 2> /dev/null", 0, "enabled\n");
    system->on("TZ=UTC systemctl show --property=NextElapseUSecRealtime --value parcel.timer 2> /dev/null", 0,
               "Sat 2026-11-21 03:00:00 UTC\n");
  }
};

}  // namespace zant::velmora_host::test_support
