#include <zant/velmora_host/minding/host_services.hpp>

#include <zant/velmora_host/families/contained_fetches.hpp>
#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/minding/acting_filesystem.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>

#include <vector>

namespace zant::velmora_host {
namespace {

using Paths = std::vector<boost::filesystem::path>;

Paths with_names_aside(const Paths& backups) {
  Paths all = backups;
  for (const auto& directory : backups) {
    const Paths aside = Acting_Filesystem::names_aside(directory);
    all.insert(all.end(), aside.begin(), aside.end());
  }
  return all;
}

}  // namespace

Host_Services make_host_services(const Settings& settings) {
  const Family_Registry& families = Family_Registry::built_in();
  Command_Service::Options options;
  options.time_limit = settings.command_time_limit();
  options.kill_delay = settings.command_kill_delay();
  options.environment = families.command_environment();
  options.runs_to_its_end = [&families](const std::string& line) { return families.installs_packages(line); };
  return {std::make_shared<Contained_Fetches>(std::make_shared<Command_Service>(options), families),
          std::make_shared<File_Service>(with_names_aside(families.private_directories()))};
}

}  // namespace zant::velmora_host
