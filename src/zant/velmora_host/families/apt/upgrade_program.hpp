#pragma once

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>

namespace zant::velmora_host::apt_outlook {

/// unattended-upgrade is not there, or cannot be executed.
/// @param program what the shell answered when it was asked for the program
Cause missing_program(const Outlook_Question& question, const Answer& program);

/// unattended-upgrade did not come as far as to tell what it would do.
/// @param stage as far as the program came that asks it
Cause failed_program(const std::string& stage, const std::string& error);

}  // namespace zant::velmora_host::apt_outlook
