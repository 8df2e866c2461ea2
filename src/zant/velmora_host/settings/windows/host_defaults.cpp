#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/velmora_host/settings/windows/program_data.hpp>

namespace zant::velmora_host::host_defaults {

boost::filesystem::path settings_file() {
  return own_program_data() / "package-minder.properties";
}

std::map<std::string, std::string> directories() {
  return {{"minder.state_directory", (own_program_data() / "state").string()},
          // Where Chocolatey installs itself.
          {"minder.base_directory", program_data().string()}};
}

}  // namespace zant::velmora_host::host_defaults
