#include <zant/velmora_host/families/package_factory.hpp>

#include <zant/velmora_host/families/installation_command.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/settings/build_config.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <set>
#include <utility>

namespace zant::velmora_host {
namespace {

class Linux_Package_Factory : public Package_Factory {
 public:
  Linux_Package_Factory(const Host_Services& services, const Settings& settings,
                        const boost::filesystem::path& staging_directory)
      : facilitator_(services.filesystem, services.system, settings.configuration(), staging_directory) {}

  std::shared_ptr<velmora::Package_Config> create_package_config(bool automatic_upgrades) const override {
    return facilitator_.create_package_config(automatic_upgrades);
  }

  std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const override {
    return facilitator_.create_package(std::move(config));
  }

 private:
  velmora::Linux_Package_Facilitator facilitator_;
};

}  // namespace

Findings find_host_faults(const Settings& settings) {
  return find_staging_tree_faults(settings.staging_directory());
}

void make_staging_directory(const Settings& settings, const boost::filesystem::path& directory) {
  copy_staging_tree(settings.staging_directory(), directory);
}

Host_Services make_host_services(const Settings& settings) {
  Command_Service::Options options;
  options.time_limit = settings.command_time_limit();
  options.kill_delay = settings.command_kill_delay();
  // By default apt-get update succeeds although a repository is unreachable.
  options.environment = {{"APT_CONFIG", Build_Config::APT_CONFIG_FILE}};
  options.runs_to_its_end = changes_packages;
  return {std::make_shared<Command_Service>(options), std::make_shared<File_Service>()};
}

std::unique_ptr<Package_Factory> make_package_factory(const Host_Services& services, const Settings& settings,
                                                      const boost::filesystem::path& staging_directory) {
  return std::make_unique<Linux_Package_Factory>(services, settings, staging_directory);
}

Installed_Paths installed_paths() {
  using boost::filesystem::path;
  const path apt_drop_ins = velmora::APT_Constants::TIMER_OVERRIDE_DIR;
  const path dnf_drop_ins = velmora::DNF_Constants::TIMER_OVERRIDE_DIR;
  return {{velmora::APT_Constants::REPO_KEYRING_PATH, velmora::APT_Constants::SOURCE_LIST_PATH,
           velmora::DNF_Constants::REPO_FILE_PATH},
          {velmora::APT_Constants::APT_CONFIG_BACKUP_DIR,
           apt_drop_ins / velmora::APT_Constants::TIMER_ON_CALENDAR_FILE,
           apt_drop_ins / velmora::APT_Constants::TIMER_RANDOMIZED_DELAY_FILE,
           dnf_drop_ins / velmora::DNF_Constants::TIMER_ON_CALENDAR_FILE,
           dnf_drop_ins / velmora::DNF_Constants::TIMER_RANDOMIZED_DELAY_FILE}};
}

void remove_interrupted_writes(velmora::Filesystem& filesystem) {
  const Installed_Paths installed = installed_paths();
  std::set<boost::filesystem::path> directories = {velmora::APT_Constants::APT_CONFIG_BACKUP_DIR};
  for (const auto* paths : {&installed.repository, &installed.upgrades}) {
    for (const auto& path : *paths) {
      directories.insert(path.parent_path());
    }
  }
  for (const auto& directory : directories) {
    filesystem.remove(filesystem.list_files(directory, File_Service::TEMPORARY_EXTENSION));
  }
}

}  // namespace zant::velmora_host
