#pragma once

#include <program/command_line.hpp>

namespace zant::program {

/// Carries the command out and returns the status to exit with. Sets the log up on standard error, and tells
/// there, or in the document in a report's place, why a command is not carried out.
int dispatch(const Command_Line& command_line, const Service_Maker& make_services);

}  // namespace zant::program
