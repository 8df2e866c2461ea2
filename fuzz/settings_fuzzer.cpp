// A settings file: it is refused with a message for each fault, or every one of its values can be read.

#include <fuzz/fuzzer.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/settings/package_patterns.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <fstream>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  static const Temporary_Directory directory;
  const auto file = directory.path() / "package-minder.properties";
  std::ofstream(file.string(), std::ios::binary) << input;
  try {
    const Settings settings(Settings_Sources{file, true, {}});
    settings.interval();
    settings.automatic_upgrades();
    settings.command_time_limit();
    settings.command_kill_delay();
    settings.metrics_file();
    settings.log_level();
    settings.log_format();
    settings.overdue_after();
    settings.purge_on_removal();
    settings.staging_directory();
    settings.state_directory();
    for (const auto& pattern : settings.repository_packages()) {
      require(package_patterns::is_pattern(pattern));
      package_patterns::allows(pattern, "zant-velmora");
    }
    for (const auto& setting : settings.all()) {
      const bool has_value = settings.configuration().has(setting.key);
      require(!has_value || settings.configuration().getString(setting.key) == setting.value);
    }
  } catch (const Refusal& refusal) {
    require(!refusal.messages().empty());
  }
}
