#pragma once

#include <string>

/// What the service manager is told; nothing happens when none listens.
namespace zant::velmora::standalone_host::Service_Notification {

/// The service is up. `status` is one line for "systemctl status".
void ready(const std::string& status);

/// The service is on its way down.
void stopping(const std::string& status);

}  // namespace zant::velmora::standalone_host::Service_Notification
