#include <standalone_host/platform/host_defaults.hpp>

#include <standalone_host/build_config.hpp>

namespace zant::velmora::standalone_host::Host_Defaults {

boost::filesystem::path settings_file() {
  return Build_Config::SETTINGS_FILE;
}

std::map<std::string, std::string> directories() {
  return {{"minder.staging_directory", Build_Config::STAGING_DIRECTORY},
          {"minder.state_directory", Build_Config::STATE_DIRECTORY}};
}

}  // namespace zant::velmora::standalone_host::Host_Defaults
