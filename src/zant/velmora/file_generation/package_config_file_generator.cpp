#include <zant/velmora/file_generation/package_config_file_generator.hpp>

#include <utility>
#include <vector>

namespace zant::velmora {

Package_Config_File_Generator::Package_Config_File_Generator(std::shared_ptr<Filesystem> filesystem,
                                                             const boost::filesystem::path& directory)
    : filesystem_(std::move(filesystem)), templates_(filesystem_, directory) {}

void Package_Config_File_Generator::generate_upgrade_timer_overrides_(
    const Upgrade_Timer_Manager::Timer_Config& timer_config) {
  // A value cleared since the last time leaves no stale drop-in behind.
  filesystem_->remove(
      std::vector<Filesystem::Path>{timer_config.on_calendar.source, timer_config.randomized_delay.source});
  generate_override_if_wanted_(timer_config.on_calendar);
  generate_override_if_wanted_(timer_config.randomized_delay);
}

void Package_Config_File_Generator::generate_override_if_wanted_(
    const Upgrade_Timer_Manager::Timer_Config::Info& info) {
  if (!info.value.empty()) {
    templates_.generate_file(info.source.filename().string(), info.value);
  }
}

}  // namespace zant::velmora
