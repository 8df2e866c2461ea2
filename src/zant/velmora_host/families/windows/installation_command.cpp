#include <zant/velmora_host/families/installation_command.hpp>

namespace zant::velmora_host {

// Chocolatey is run here to register a package that is on the disk already; upgrades are the task
// scheduler's.
bool changes_packages(const std::string& /*command*/) {
  return false;
}

}  // namespace zant::velmora_host
