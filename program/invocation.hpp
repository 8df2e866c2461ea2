#pragma once

#include <zant/velmora_host/settings/settings.hpp>

namespace zant::program {

/// What a command is told on the command line.
struct Invocation {
  velmora_host::Settings_Sources settings;
  bool upgrades_only = false;  ///< purge: the automatic-upgrade part only
  bool on_removal = false;     ///< purge: only if the settings ask for it when the program is removed
  bool plan_only = false;      ///< purge: show what would be done, and do nothing
  bool online = false;         ///< why, check: the repository itself may be asked
  bool monitoring = false;     ///< status: one line, and the exit status, of a monitoring plugin
  bool json = false;           ///< reports: for a program, not for a person
};

}  // namespace zant::program
