#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

namespace zant::program {

int hold(const Invocation& /*invocation*/, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services) {
  return velmora_host::hold_package(settings, services) ? Exit_Status::DONE : Exit_Status::FAILED;
}

}  // namespace zant::program
