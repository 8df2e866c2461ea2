#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/velmora_host/settings/windows/program_data.hpp>

namespace zant::velmora_host::host_defaults {

Setting_System system() {
  return Setting_System::WINDOWS;
}

boost::filesystem::path settings_file() {
  return own_program_data() / "package-minder.properties";
}

Directories directories() {
  // Chocolatey installs itself into the base directory.
  return {"", (own_program_data() / "state").string(), program_data().string()};
}

}  // namespace zant::velmora_host::host_defaults
