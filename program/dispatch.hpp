#pragma once

#include <program/command_line.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <functional>

namespace zant::program {

/// Makes the services that a command works through.
using Service_Maker = std::function<velmora_host::Host_Services(const velmora_host::Settings& settings)>;

/// Carries the command out and returns the status to exit with. Sets the log up on standard error, and tells
/// there, or in the document in a report's place, why a command is not carried out.
int dispatch(const Command_Line& command_line, const Service_Maker& make_services);

}  // namespace zant::program
