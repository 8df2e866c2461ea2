#pragma once

#include <zant/velmora_host/base/check_report.hpp>
#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <string>

namespace zant::velmora_host {

/// Runs preflight checks on the staging tree and the host, in less than 10 seconds. Changes nothing.
///
/// @param online whether the repository itself is asked too, which takes up to 30 seconds; all that stands in
///               the way of upgrades is then found. Otherwise it is what stands in the configuration.
PACKAGE_MINDER_HOST_EXPORT Check_Report make_check_report(const Settings& settings,
                                                          const Host_Services& services, bool online = false);

/// The document for programs, as JSON text.
PACKAGE_MINDER_HOST_EXPORT std::string to_json_text(const Check_Report& report);

/// For a person.
PACKAGE_MINDER_HOST_EXPORT std::string to_text(const Check_Report& report);

}  // namespace zant::velmora_host
