#pragma once

#include <program/command_line.hpp>
#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

namespace zant::program {

/// Carries out a command and returns the exit status. Commands write to the log.
///
/// @throws Refusal before anything on the host has been changed; other exceptions when the work failed.
int carry_out(const Command_Line& command_line, const velmora_host::Settings& settings,
              const velmora_host::Host_Services& services);

}  // namespace zant::program
