#include <zant/velmora_host/minding/cycle_runner.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

namespace zant::velmora_host {
namespace {

Minded_Host find_host(const Settings& settings, const Host_Services& services,
                      const Family_Registry& registry) {
  Minded_Host host = find_minded_host(settings, services, registry);
  refuse_if_any(find_keyring_faults(settings.staging_directory(), host.family.staging_layout()));
  return host;
}

}  // namespace

Cycle_Runner::Cycle_Runner(const std::string& name, const Settings& settings, const Host_Services& services,
                           const Family_Registry& registry)
    : host_(find_host(settings, services, registry)),
      work_area_(settings, host_.family.staging_layout(), services.filesystem),
      cycles_(name, host_, work_area_.staging_directory()) {}

}  // namespace zant::velmora_host
