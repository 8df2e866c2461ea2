#pragma once

#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/families/repository_limit.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora_host {

/// The factory of the families on Linux.
class Linux_Package_Factory : public Package_Factory {
 public:
  /// @param settings outlives the factory and what it makes.
  /// @param limit    on what may come from the repository.
  Linux_Package_Factory(const Host_Services& services, const Settings& settings,
                        const boost::filesystem::path& staging_directory,
                        std::shared_ptr<Repository_Limit> limit);

  std::shared_ptr<velmora::Package_Config> create_package_config(bool automatic_upgrades) const override;
  std::shared_ptr<velmora::Package> create_package(
      std::shared_ptr<velmora::Package_Config> config) const override;

 private:
  velmora::Linux_Package_Facilitator facilitator_;
  std::shared_ptr<Repository_Limit> limit_;
};

}  // namespace zant::velmora_host
