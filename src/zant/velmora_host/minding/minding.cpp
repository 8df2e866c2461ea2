#include <zant/velmora_host/minding/minding.hpp>

#include <zant/velmora_host/base/refusal.hpp>

namespace zant::velmora_host {

Minding::Minding(const Host_Services& services, const Settings& settings,
                 const boost::filesystem::path& staging_directory)
    : factory_(make_package_factory(services, settings, staging_directory)),
      config_(factory_->create_package_config(settings.automatic_upgrades())) {
  if (!config_) {
    throw Refusal(Refusal_Reason::UNSUPPORTED_HOST,
                  "no supported package manager: /etc/os-release names neither Debian or Ubuntu nor the RHEL "
                  "family");
  }
}

}  // namespace zant::velmora_host
