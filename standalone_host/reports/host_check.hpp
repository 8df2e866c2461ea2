#pragma once

#include <standalone_host/reports/check_report.hpp>
#include <standalone_host/reports/host_kind.hpp>
#include <standalone_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>

/// Whether the host has, and lets be changed, what the library needs. All of it only looks.
namespace zant::velmora::standalone_host::Host_Check {

/// Commands that the library runs and the host lacks, or has in a form that does not understand it.
void check_tools(System& system, const Host_Kind& kind, Check_Report& report);

/// Timers and services that an administrator has masked: they never run.
void check_units(System& system, const Host_Kind& kind, Check_Report& report);

/// The schedule of automatic upgrades, as systemd judges it.
void check_schedule(System& system, const Settings& settings, const Host_Kind& kind, Check_Report& report);

/// Directories that are missing or read-only.
void check_directories(System& system, Filesystem& filesystem, const Settings& settings,
                       const Host_Kind& kind, Check_Report& report);

}  // namespace zant::velmora::standalone_host::Host_Check
