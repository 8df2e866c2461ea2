#pragma once

#include <zant/velmora/host/system.hpp>

#include <string>

namespace zant::velmora {

/// Runs the command and tells whether it succeeded; its output is discarded.
inline bool command_succeeds(System& system, const std::string& command) {
  return system.run_command(command, Run_Flag::WAIT_AND_CAPTURE).exit_code == 0;
}

}  // namespace zant::velmora
