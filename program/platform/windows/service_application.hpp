#pragma once

#include <functional>

/// This process as a service of Windows, by Poco's service application.
namespace zant::program::service_application {

/// Does the work. When the service manager started this process, it sees the work as the service: its
/// requests to stop go to `Stop_Signals`, what the work returns becomes the service's exit status, and the
/// log goes to the service's log file. Else the work is done right away. Returns what the work returns.
int run(const std::function<int()>& work);

}  // namespace zant::program::service_application
