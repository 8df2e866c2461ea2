#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

namespace zant::velmora_host {

/// The services of this system, set up as libpackage_minder needs them: the settings' time limits, which end
/// no installation, the environment that package managers need, and the directories of backups, which are
/// for root alone.
PACKAGE_MINDER_HOST_EXPORT Host_Services make_host_services(const Settings& settings);

}  // namespace zant::velmora_host
