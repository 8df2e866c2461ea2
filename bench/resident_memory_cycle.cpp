// Loaded by resident_memory after the dependencies: the library, one cycle of it, and nothing else.

#include "steady_host.hpp"

extern "C" __attribute__((visibility("default"))) void run_one_cycle() {
  const auto minder = zant::velmora::bench::make_steady_minder(zant::velmora::bench::steady_apt());
  minder->update_package_lock_if_necessary();
  minder->initialize_unattended_upgrades_if_necessary();
}
