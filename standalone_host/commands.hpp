#pragma once

#include <standalone_host/command_line.hpp>
#include <standalone_host/platform/package_factory.hpp>
#include <standalone_host/settings/settings.hpp>

namespace zant::velmora::standalone_host {

/// Carries a command out and returns the status to exit with. What a command tells, it tells through the log.
///
/// @throws Refusal before anything on the host has been changed; other exceptions when the work failed.
int carry_out(const Command_Line& command_line, const Settings& settings, const Host_Services& services);

}  // namespace zant::velmora::standalone_host
