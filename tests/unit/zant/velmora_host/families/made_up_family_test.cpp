// Adding a family is adding its room and registering it: status, plan, check and a recorded cycle know
// nothing of the one below but what its room says.

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/minding/cycle_runner.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>

#include <support/host_side/host_in_directory.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr auto TYPE = static_cast<velmora::Package_Config_Type>(7);
constexpr const char* REPOSITORY_FILE = "/etc/parcel/velmora.conf";
constexpr const char* IS_HELD = "parcel held";
constexpr const char* RELEASE = "parcel release";
constexpr const char* START_TIMER = "systemctl start parcel.timer";

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

// The room of the family.
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
};

Family_Registry registry_with_parcel() {
  std::vector<std::unique_ptr<Family>> families;
  families.push_back(std::make_unique<Parcel_Family>());
  return Family_Registry(std::move(families));
}

class Parcel_Host : public test_support::Host_In_Directory {
 public:
  Parcel_Host() : Host_In_Directory("ID=parcel\n") {
    services.filesystem->create_directories("/etc/parcel");
    services.filesystem->create_directories("/etc/systemd/system");
    system->on(IS_HELD, 1);
    system->on("parcel timer-runs", 0);
    system->on(START_TIMER, 0);
  }
};

class MadeUpFamily : public ::testing::Test {
 protected:
  const Family_Registry registry_ = registry_with_parcel();
  Parcel_Host host_;
};

TEST_F(MadeUpFamily, HasItsCyclesRecorded) {
  host_.system->once(IS_HELD, 0);
  host_.system->on(RELEASE, 0);
  const Settings settings = host_.settings();

  const auto record = Cycle_Runner("once", settings, host_.services, registry_).run_cycle().last_cycle;

  EXPECT_TRUE(record.succeeded());
  ASSERT_EQ(record.files.size(), 1U);
  EXPECT_EQ(record.files[0].path, REPOSITORY_FILE);
  EXPECT_EQ(record.files[0].outcome, File_Outcome::INSTALLED);
  ASSERT_EQ(record.commands.size(), 2U);
  EXPECT_EQ(record.commands[0].line, RELEASE);
  EXPECT_EQ(record.commands[1].line, START_TIMER);
  EXPECT_EQ(host_.read(REPOSITORY_FILE), "the repository\n");
}

TEST_F(MadeUpFamily, HasTheFailuresOfItsCommandsRecorded) {
  host_.system->on(START_TIMER, 1);
  const Settings settings = host_.settings();

  const auto state = Cycle_Runner("once", settings, host_.services, registry_).run_cycle();

  ASSERT_EQ(state.last_cycle.failures.size(), 1U);
  EXPECT_EQ(state.last_cycle.failures[0].message, "parcel.timer could not be started");
  EXPECT_EQ(state.history.failures.at(Cycle_Step::UPGRADES), 1U);
}

TEST_F(MadeUpFamily, IsPlannedFor) {
  const Plan plan = make_plan(Plan::Operation::CYCLE, host_.settings(), host_.services, registry_);

  ASSERT_EQ(plan.files.size(), 1U);
  EXPECT_EQ(plan.files[0].path, REPOSITORY_FILE);
  ASSERT_EQ(plan.commands.size(), 1U);
  EXPECT_TRUE(plan.commands[0].is_noop);
  EXPECT_EQ(plan.hold, Hold_State::NOT_HELD);
  EXPECT_THAT(host_.system->commands(), ::testing::Not(Contains(START_TIMER)));
}

TEST_F(MadeUpFamily, HasItsStatusShown) {
  host_.system->on("systemctl is-active package-minder.service 2> /dev/null", 0, "active\n");
  host_.system->on("systemctl is-active --quiet parcel.timer", 0);
  host_.system->on("systemctl is-enabled --quiet parcel.timer 2> /dev/null", 0);
  host_.system->on(
      "TZ=UTC systemctl show --property=NextElapseUSecRealtime --value parcel.timer 2> /dev/null", 0,
      "Sat 2026-11-21 03:00:00 UTC\n");

  EXPECT_EQ(to_text(make_status(host_.settings(), host_.services, PROGRAM_SERVICE, registry_)),
            "Host                package manager Parcel, init systemd\n"
            "Service             active\n"
            "Package             zant-velmora 3 installed, 4 offered\n"
            "Repository          not registered\n"
            "    /etc/parcel/velmora.conf is missing\n"
            "Hold                not held\n"
            "Automatic upgrades  on, in step\n"
            "Timer               parcel.timer, next run 2026-11-21T03:00:00Z\n"
            "Last cycle          none is recorded\n"
            "\n"
            "Needs attention:\n"
            "  - The repository is not registered [repository.not_registered]\n"
            "  - No cycle is recorded on this host [cycle.never_ran]\n"
            "  - parcel: accepts everything; be choosy [parcel.weak]\n");
}

TEST_F(MadeUpFamily, IsChecked) {
  host_.system->on("command -v parcel > /dev/null", 1);
  host_.system->on("command -v systemctl > /dev/null", 0);
  host_.system->on("test -w /etc/parcel", 0);
  host_.system->on("test -w /etc/systemd/system", 0);
  host_.system->on("systemctl is-enabled parcel.timer 2> /dev/null", 1, "masked\n");

  std::vector<std::string> codes;
  for (const auto& finding : make_check_report(host_.settings(), host_.services, registry_).findings) {
    codes.push_back(finding.code);
  }

  EXPECT_THAT(codes, ElementsAre("tools.missing", "units.masked", "parcel.made_up", "parcel.weak"));
}

TEST_F(MadeUpFamily, GivesItsCommandsTheirEnvironment) {
  EXPECT_EQ(registry_.command_environment().at("PARCEL"), "quiet");
}

TEST_F(MadeUpFamily, IsNotServedWithoutItsRoom) {
  const Settings settings = host_.settings();
  try {
    find_minded_host(settings, host_.services);
    ADD_FAILURE() << "it was taken for another";
  } catch (const Refusal& refusal) {
    EXPECT_EQ(refusal.reason(), Refusal_Reason::UNSUPPORTED_HOST);
    EXPECT_THAT(refusal.what(), HasSubstr("no supported package manager"));
  }
}

}  // namespace
}  // namespace zant::velmora_host
