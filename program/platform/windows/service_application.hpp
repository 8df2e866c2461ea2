#pragma once

#include <functional>

/// This process as a service of Windows, by Poco's service application.
namespace zant::program::service_application {

/// Does the work: when the service manager started this process, under its eyes, with its requests to stop
/// going to `Stop_Signals`; else right away. Returns what the work returns, which the service manager is told
/// too.
int run(const std::function<int()>& work);

}  // namespace zant::program::service_application
