#pragma once

#include <chrono>
#include <string>

/// What the service manager is told; nothing happens when none listens.
namespace zant::program::service_notification {

/// The service is up. `status` is one line for "systemctl status".
void ready(const std::string& status);

/// What the service is at, one line for "systemctl status".
void status(const std::string& status);

/// How often `alive` must be called for the service not to be taken for dead; zero when nobody watches.
std::chrono::milliseconds watchdog_interval();

/// The service works as it should.
void alive();

/// The service is on its way down.
void stopping(const std::string& status);

}  // namespace zant::program::service_notification
