#include <program/platform/service_notification.hpp>

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace zant::program::service_notification {
namespace {

constexpr int KEEP_ENVIRONMENT = 0;

void notify(const std::string& state) {
  ::sd_notify(KEEP_ENVIRONMENT, state.c_str());
}

}  // namespace

void ready(const std::string& status) {
  notify("READY=1\nSTATUS=" + status);
}

void status(const std::string& status) {
  notify("STATUS=" + status);
}

std::chrono::milliseconds watchdog_interval() {
  std::uint64_t limit_in_microseconds = 0;
  if (::sd_watchdog_enabled(KEEP_ENVIRONMENT, &limit_in_microseconds) <= 0) {
    return std::chrono::milliseconds::zero();
  }
  // Twice within the limit, as sd_watchdog_enabled(3) recommends.
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::microseconds(limit_in_microseconds / 2));
}

void alive() {
  notify("WATCHDOG=1");
}

void stopping(const std::string& status) {
  notify("STOPPING=1\nSTATUS=" + status);
}

}  // namespace zant::program::service_notification
