#include <program/platform/host_commands.hpp>

namespace zant::program {

bool offers_reports() {
  return true;
}

// The service is installed, started and stopped with the tools of the system.
std::vector<const CLI::App*> add_host_commands(CLI::App& /*app*/, Host_Command& /*chosen*/) {
  return {};
}

}  // namespace zant::program
