#include <program/platform/service_manager.hpp>

#include <program/platform/windows/service_application.hpp>
#include <program/platform/windows/service_log.hpp>

#include <windows.h>

namespace zant::program {
namespace {

// What the service manager starts has nowhere to write to.
bool has_standard_error() {
  const HANDLE handle = ::GetStdHandle(STD_ERROR_HANDLE);
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

}  // namespace

int work_as_service(const std::function<int()>& work) {
  return service_application::run([&work] {
    if (!has_standard_error()) {
      open_service_log();
    }
    return work();
  });
}

}  // namespace zant::program
