#pragma once

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/package_minder/init.hpp>

#include <string>

namespace zant::velmora_host {

/// A host as the host side works on it: its services, its settings, and what kind of host it is.
struct Minded_Host {
  const Settings& settings;
  Host_Services services;
  const Family& family;
  velmora::Init init;
};

/// Looks at the host without making the library's objects, which need a staging tree that is in order.
///
/// @param settings outlives the result.
/// @param registry the families to look for.
/// @throws Refusal UNSUPPORTED_HOST when the host is of none of them; BAD_SETTINGS when a host of its family
///         cannot be minded with these settings.
Minded_Host find_minded_host(const Settings& settings, const Host_Services& services,
                             const Family_Registry& registry = Family_Registry::built_in());

/// The family of a host, without a judgement of the settings.
///
/// @throws Refusal UNSUPPORTED_HOST when the host is of none of them.
const Family& require_family(const Host_Services& services, const Family_Registry& registry);

/// What process 1 is.
velmora::Init find_init(velmora::Filesystem& filesystem);

/// "systemd" or "other".
///
/// @throws std::logic_error for a value that is neither.
const char* to_string(velmora::Init init);

}  // namespace zant::velmora_host
