#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

namespace zant::velmora_host {
namespace {

// Uses a private staging copy: a minding process owns the state directory.
template <typename Change>
bool change_hold(const Settings& settings, const Host_Services& services, Change change) {
  const Minded_Host host = find_minded_host(settings, services);
  const Temporary_Directory directory;
  const auto staging_directory = directory.path() / "staging";
  make_staging_directory(settings.staging_directory(), host.family.staging_layout(), staging_directory,
                         *services.filesystem);
  const auto factory = host.family.create_package_factory(services, settings, staging_directory);
  return change(*factory->create_package(factory->create_package_config(settings.automatic_upgrades())));
}

}  // namespace

bool hold_package(const Settings& settings, const Host_Services& services) {
  return change_hold(settings, services, [](velmora::Package& package) { return package.lock(); });
}

bool release_package(const Settings& settings, const Host_Services& services) {
  return change_hold(settings, services, [](velmora::Package& package) { return package.unlock(); });
}

}  // namespace zant::velmora_host
