#include <program/commands/command_table.hpp>

#include <program/commands/commands.hpp>
#include <program/platform/platform.hpp>

#include <algorithm>

namespace zant::program {
namespace {

using Group = Command::Group;

std::vector<Command> make_table() {
  std::vector<Command> table = {
      {"run", "Mind the package until told to stop: the service", Group::ACTIONS, {}, run, {}, true},
      {"once", "Run one cycle; the exit status tells how it went", Group::ACTIONS, {}, once},
      {"hold", "Hold the package; a running service releases it", Group::ACTIONS, {}, hold},
      {"release", "Release the package's hold", Group::ACTIONS, {}, release},
      {"purge",
       "Undo what was set up on the host",
       Group::ACTIONS,
       {Flag::UPGRADES_ONLY, Flag::ON_REMOVAL, Flag::PLAN, Flag::JSON},
       purge},
      {"status",
       "Show how things stand on this host",
       Group::REPORTS,
       {Flag::MONITORING, Flag::JSON},
       status},
      {"why",
       "Tell whether the package upgrades, and why not",
       Group::REPORTS,
       {Flag::ONLINE, Flag::JSON},
       why},
      {"plan", "Show what the next cycle would change", Group::REPORTS, {Flag::JSON}, plan},
      {"check", "Run preflight checks", Group::REPORTS, {Flag::ONLINE, Flag::JSON}, check},
      {"settings", "Show each setting and its source", Group::REPORTS, {Flag::JSON}, settings},
  };
  if (PLATFORM.make_commands != nullptr) {
    const auto of_system = PLATFORM.make_commands();
    table.insert(table.end(), of_system.begin(), of_system.end());
  }
  return table;
}

}  // namespace

const std::vector<Command>& command_table() {
  static const std::vector<Command> table = make_table();
  return table;
}

const Command* find_command(const std::string& name) {
  const auto& table = command_table();
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&name](const Command& command) { return command.name == name; });
  return found == table.end() ? nullptr : &*found;
}

}  // namespace zant::program
