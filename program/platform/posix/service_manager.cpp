#include <program/platform/service_manager.hpp>

namespace zant::program {

// A service is a process like any other here.
int work_as_service(const std::function<int()>& work) {
  return work();
}

}  // namespace zant::program
