// Loaded by resident_memory after the dependencies: the library, one cycle of it, and nothing else.

#include "steady_host.hpp"

extern "C" __attribute__((visibility("default"))) void run_one_cycle() {
  using namespace zant::velmora::bench;
  const auto minder = make_steady_minder(steady_apt(), std::make_shared<Steady_System>());
  minder->update_package_lock_if_necessary();
  minder->initialize_unattended_upgrades_if_necessary();
}
