#include <zant/velmora_host/families/linux_package_factory.hpp>

#include <utility>

namespace zant::velmora_host {

Linux_Package_Factory::Linux_Package_Factory(const Host_Services& services, const Settings& settings,
                                             const boost::filesystem::path& staging_directory)
    : facilitator_(services.filesystem, services.system, settings.configuration(), staging_directory) {}

std::shared_ptr<velmora::Package_Config> Linux_Package_Factory::create_package_config(
    bool automatic_upgrades) const {
  return facilitator_.create_package_config(automatic_upgrades);
}

std::shared_ptr<velmora::Package> Linux_Package_Factory::create_package(
    std::shared_ptr<velmora::Package_Config> config) const {
  return facilitator_.create_package(std::move(config));
}

}  // namespace zant::velmora_host
