#pragma once

#include <program/invocation.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace zant::program {

/// Options that only some commands have.
enum class Flag { UPGRADES_ONLY, ON_REMOVAL, PLAN, ONLINE, MONITORING, JSON };

/// Carries a command out on valid settings, and returns the status to exit with.
///
/// @throws Refusal before anything on the host has been changed; other exceptions when the work failed.
using Work = std::function<int(const Invocation& invocation, const velmora_host::Settings& settings,
                               const velmora_host::Host_Services& services)>;

/// Makes the services that a command works through.
using Service_Maker = std::function<velmora_host::Host_Services(const velmora_host::Settings& settings)>;

/// The same for a command that reads the settings itself, or none.
using Work_Without_Settings =
    std::function<int(const Invocation& invocation, const Service_Maker& make_services)>;

/// A command of the program.
struct Command {
  enum class Group {
    ACTIONS,
    REPORTS,  ///< change nothing, and print what they found
  };

  std::string name;
  std::string description;
  Group group = Group::ACTIONS;
  std::vector<Flag> flags = {};
  std::variant<Work, Work_Without_Settings> work = {};
  std::vector<Command> subcommands = {};  ///< if there are any, one of them is carried out instead
  bool is_service = false;                ///< what the service manager starts
};

}  // namespace zant::program
