#include <program/platform/platform.hpp>

#include <program/platform/windows/service_application.hpp>
#include <program/platform/windows/service_commands.hpp>

namespace zant::program {

// The service manager of Windows takes states, which the service application reports, and no messages.
constinit const Platform PLATFORM = {
    .connect_to_service_manager = nullptr,
    .run_as_service = service_application::run,
    .make_commands = service_commands::make_commands,
};

}  // namespace zant::program
