#pragma once

#include <zant/velmora_host/families/host_kind.hpp>
#include <zant/velmora_host/reports/check_report.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>

/// Whether the host has, and lets be changed, what the library needs. All of it only looks.
namespace zant::velmora_host::host_check {

/// Commands that the library runs and the host lacks, or has in a form that does not understand it.
void check_tools(velmora::System& system, const Host_Kind& kind, Check_Report& report);

/// Timers and services that an administrator has masked: they never run.
void check_units(velmora::System& system, const Host_Kind& kind, Check_Report& report);

/// The schedule of automatic upgrades, as systemd judges it.
void check_schedule(velmora::System& system, const Settings& settings, const Host_Kind& kind,
                    Check_Report& report);

/// Directories that are missing or read-only.
void check_directories(velmora::System& system, velmora::Filesystem& filesystem, const Settings& settings,
                       const Host_Kind& kind, Check_Report& report);

}  // namespace zant::velmora_host::host_check
