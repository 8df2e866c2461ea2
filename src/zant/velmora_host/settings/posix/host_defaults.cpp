#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/velmora_host/settings/build_config.hpp>

namespace zant::velmora_host::host_defaults {

boost::filesystem::path settings_file() {
  return Build_Config::SETTINGS_FILE;
}

std::map<std::string, std::string> directories() {
  return {{"minder.staging_directory", Build_Config::STAGING_DIRECTORY},
          {"minder.state_directory", Build_Config::STATE_DIRECTORY}};
}

}  // namespace zant::velmora_host::host_defaults
