#include <standalone_host/platform/package_factory.hpp>

#include <standalone_host/build_config.hpp>
#include <standalone_host/posix/posix_filesystem.hpp>
#include <standalone_host/posix/posix_system.hpp>
#include <standalone_host/staging_tree.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <set>
#include <utility>

namespace zant::velmora::standalone_host {
namespace {

class Linux_Package_Factory : public Package_Factory {
 public:
  Linux_Package_Factory(const Host_Services& services, const Settings& settings,
                        const boost::filesystem::path& staging_directory)
      : facilitator_(services.filesystem, services.system, settings.configuration(), staging_directory) {}

  std::shared_ptr<Package_Config> create_package_config(bool automatic_upgrades) const override {
    return facilitator_.create_package_config(automatic_upgrades);
  }

  std::shared_ptr<Package> create_package(std::shared_ptr<Package_Config> config) const override {
    return facilitator_.create_package(std::move(config));
  }

 private:
  Linux_Package_Facilitator facilitator_;
};

}  // namespace

Findings find_host_faults(const Settings& settings) {
  return find_staging_tree_faults(settings.staging_directory());
}

void make_staging_directory(const Settings& settings, const boost::filesystem::path& directory) {
  copy_staging_tree(settings.staging_directory(), directory);
}

Host_Services make_host_services(const Settings& settings) {
  Posix_System::Options options;
  options.time_limit = settings.command_time_limit();
  options.kill_delay = settings.command_kill_delay();
  // APT alone takes a repository that cannot be reached for a passing trouble and reports success.
  options.environment = {{"APT_CONFIG", Build_Config::APT_CONFIG_FILE}};
  return {std::make_shared<Posix_System>(options), std::make_shared<Posix_Filesystem>()};
}

std::unique_ptr<Package_Factory> make_package_factory(const Host_Services& services, const Settings& settings,
                                                      const boost::filesystem::path& staging_directory) {
  return std::make_unique<Linux_Package_Factory>(services, settings, staging_directory);
}

Installed_Paths installed_paths() {
  using boost::filesystem::path;
  const path apt_drop_ins = APT_Constants::TIMER_OVERRIDE_DIR;
  const path dnf_drop_ins = DNF_Constants::TIMER_OVERRIDE_DIR;
  return {{APT_Constants::REPO_KEYRING_PATH, APT_Constants::SOURCE_LIST_PATH, DNF_Constants::REPO_FILE_PATH},
          {APT_Constants::APT_CONFIG_BACKUP_DIR, apt_drop_ins / APT_Constants::TIMER_ON_CALENDAR_FILE,
           apt_drop_ins / APT_Constants::TIMER_RANDOMIZED_DELAY_FILE,
           dnf_drop_ins / DNF_Constants::TIMER_ON_CALENDAR_FILE,
           dnf_drop_ins / DNF_Constants::TIMER_RANDOMIZED_DELAY_FILE}};
}

void remove_interrupted_writes(Filesystem& filesystem) {
  const Installed_Paths installed = installed_paths();
  std::set<boost::filesystem::path> directories = {APT_Constants::APT_CONFIG_BACKUP_DIR};
  for (const auto* paths : {&installed.repository, &installed.upgrades}) {
    for (const auto& path : *paths) {
      directories.insert(path.parent_path());
    }
  }
  for (const auto& directory : directories) {
    filesystem.remove(filesystem.list_files(directory, Posix_Filesystem::TEMPORARY_EXTENSION));
  }
}

}  // namespace zant::velmora::standalone_host
