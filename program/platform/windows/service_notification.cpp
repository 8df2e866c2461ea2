#include <program/platform/service_notification.hpp>

namespace zant::program::service_notification {

// Windows' service manager wants a state and no text, and `Service_Application` tells it.
void ready(const std::string& /*status*/) {}

void status(const std::string& /*status*/) {}

std::chrono::milliseconds watchdog_interval() {
  return std::chrono::milliseconds::zero();
}

void alive() {}

void stopping(const std::string& /*status*/) {}

}  // namespace zant::program::service_notification
