#include <program/platform/platform.hpp>

#include <program/platform/posix/systemd.hpp>

namespace zant::program {

constinit const Platform PLATFORM = {
    .connect_to_service_manager = connect_to_systemd,
    .run_as_service = nullptr,
    // The service is installed, started and stopped with the tools of the system.
    .make_commands = nullptr,
};

}  // namespace zant::program
