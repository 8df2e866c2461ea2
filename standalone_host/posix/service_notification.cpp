#include <standalone_host/service_notification.hpp>

#include <systemd/sd-daemon.h>

namespace zant::velmora::standalone_host::Service_Notification {
namespace {

constexpr int KEEP_ENVIRONMENT = 0;

void notify(const std::string& state) {
  ::sd_notify(KEEP_ENVIRONMENT, state.c_str());
}

}  // namespace

void ready(const std::string& status) {
  notify("READY=1\nSTATUS=" + status);
}

void stopping(const std::string& status) {
  notify("STOPPING=1\nSTATUS=" + status);
}

}  // namespace zant::velmora::standalone_host::Service_Notification
