#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/velmora_host/settings/build_config.hpp>

namespace zant::velmora_host::host_defaults {

Setting_System system() {
  return Setting_System::POSIX;
}

boost::filesystem::path settings_file() {
  return Build_Config::SETTINGS_FILE;
}

Directories directories() {
  return {Build_Config::STAGING_DIRECTORY, Build_Config::STATE_DIRECTORY, ""};
}

}  // namespace zant::velmora_host::host_defaults
