#include <standalone_host/platform/service_manager.hpp>

namespace zant::velmora::standalone_host {

// A service is a process like any other here.
int work_as_service(const std::function<int()>& work) {
  return work();
}

}  // namespace zant::velmora::standalone_host
