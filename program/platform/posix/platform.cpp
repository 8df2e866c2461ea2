#include <program/platform/platform.hpp>

#include <program/platform/posix/systemd.hpp>

namespace zant::program {

constinit const Platform PLATFORM = {
    .connect_to_service_manager = connect_to_systemd,
    .run_as_service = nullptr,
};

}  // namespace zant::program
