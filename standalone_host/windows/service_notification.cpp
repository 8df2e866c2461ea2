#include <standalone_host/service_notification.hpp>

namespace zant::velmora::standalone_host::Service_Notification {

// Windows' service manager wants a state and no text, and `Service_Application` tells it.
void ready(const std::string& /*status*/) {}

void stopping(const std::string& /*status*/) {}

}  // namespace zant::velmora::standalone_host::Service_Notification
