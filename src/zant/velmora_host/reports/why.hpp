#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <string>

namespace zant::velmora_host {

/// Finds out whether the package upgrades on this host, in less than 10 seconds. Changes nothing on the host.
///
/// @param online whether the repository itself is asked, which takes up to 30 seconds. Otherwise no network
/// is
///               used.
/// @throws Refusal on a host that cannot be minded.
PACKAGE_MINDER_HOST_EXPORT Verdict make_verdict(const Settings& settings, const Host_Services& services,
                                                bool online = false);

/// The document for programs, as JSON text: "package-minder/why".
PACKAGE_MINDER_HOST_EXPORT std::string to_json_text(const Verdict& verdict);

/// One page for a person.
PACKAGE_MINDER_HOST_EXPORT std::string to_text(const Verdict& verdict);

}  // namespace zant::velmora_host
