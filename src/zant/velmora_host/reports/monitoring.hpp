#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <string>

namespace zant::velmora_host {

/// What a monitoring plugin exits with.
enum class Monitoring_State { OK = 0, WARNING = 1, CRITICAL = 2, UNKNOWN = 3 };

/// CRITICAL when the upgrade is blocked, UNKNOWN when that cannot be told, WARNING when it is overdue or
/// something else needs attention.
PACKAGE_MINDER_HOST_EXPORT Monitoring_State monitoring_state(const Status& status);

/// The one line that a monitoring plugin prints, with performance data behind a "|".
PACKAGE_MINDER_HOST_EXPORT std::string to_monitoring_line(const Status& status);

/// The same in the place of a status that there is none of.
PACKAGE_MINDER_HOST_EXPORT std::string to_unknown_monitoring_line(const std::string& reason);

}  // namespace zant::velmora_host
