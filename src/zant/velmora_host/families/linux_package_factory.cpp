#include <zant/velmora_host/families/linux_package_factory.hpp>

#include <zant/velmora_host/families/limited_package_config.hpp>

#include <utility>

namespace zant::velmora_host {

Linux_Package_Factory::Linux_Package_Factory(const Host_Services& services, const Settings& settings,
                                             const boost::filesystem::path& staging_directory,
                                             std::shared_ptr<Repository_Limit> limit)
    : facilitator_(services.filesystem, services.system, settings.configuration(), staging_directory),
      limit_(std::move(limit)) {}

std::shared_ptr<velmora::Package_Config> Linux_Package_Factory::create_package_config(
    bool automatic_upgrades) const {
  limit_->prepare_templates();
  auto config = facilitator_.create_package_config(automatic_upgrades);
  limit_->render();
  return std::make_shared<Limited_Package_Config>(std::move(config), limit_);
}

std::shared_ptr<velmora::Package> Linux_Package_Factory::create_package(
    std::shared_ptr<velmora::Package_Config> config) const {
  return facilitator_.create_package(std::move(config));
}

}  // namespace zant::velmora_host
