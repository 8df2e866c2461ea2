#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/minding/undo.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {

std::vector<std::string> purge(Purge_Scope scope, const Settings& settings, const Host_Services& services) {
  const Minded_Host host = find_minded_host(settings, services);
  Work_Area work_area(settings, host.family.staging_layout(), services.filesystem);
  std::vector<std::string> problems = undo(scope, host, work_area.staging_directory());
  if (problems.empty() && scope == Purge_Scope::EVERYTHING) {
    work_area.remove();
    if (services.filesystem->exists(work_area.staging_directory())) {
      problems.push_back(fmt::format("Could not remove {}", work_area.staging_directory().string()));
    }
  }
  return problems;
}

}  // namespace zant::velmora_host
