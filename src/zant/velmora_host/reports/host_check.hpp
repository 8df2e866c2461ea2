#pragma once

#include <zant/velmora_host/base/check_report.hpp>
#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/system.hpp>

/// Whether the host has, and lets be changed, what the library needs. All of it only looks.
namespace zant::velmora_host::host_check {

/// Commands that the library runs and the host lacks.
void check_tools(velmora::System& system, const Family& family, velmora::Init init, Check_Report& report);

/// Timers and services that an administrator has masked: they never run. Timers that are not enabled: they do
/// not start with the host.
void check_units(velmora::System& system, const Family& family, velmora::Init init, Check_Report& report);

/// The schedule of automatic upgrades, as systemd judges it.
void check_schedule(velmora::System& system, const Settings& settings, const Family& family,
                    velmora::Init init, Check_Report& report);

/// Directories that are missing or read-only.
void check_directories(const Host_Services& services, const Settings& settings, const Family& family,
                       velmora::Init init, Check_Report& report);

}  // namespace zant::velmora_host::host_check
