#include <zant/velmora_host/settings/setting_defaults.hpp>

#include <zant/velmora_host/settings/build_config.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {
namespace {

namespace APT_Constants = velmora::APT_Constants;
namespace Choco_Constants = velmora::Choco_Constants;
namespace DNF_Constants = velmora::DNF_Constants;

std::string apt_channel_of(const char* init) {
  return fmt::format(fmt::runtime(APT_Constants::DEFAULT_CHANNEL_FORMAT), init);
}

}  // namespace

Setting_Defaults setting_defaults() {
  return setting_defaults(Build_Config::SHIPPED_DNF_KEY);
}

Setting_Defaults setting_defaults(const std::string& shipped_dnf_key) {
  const host_defaults::Directories directories = host_defaults::directories();
  Setting_Defaults defaults;
  defaults.system = host_defaults::system();
  defaults.settings_file = host_defaults::settings_file().string();
  defaults.staging_directory = directories.staging;
  defaults.state_directory = directories.state;
  defaults.base_directory = directories.base;
  defaults.apt_url = APT_Constants::SECURE_DEFAULT_REPO_URL;
  defaults.apt_url_without_systemd = APT_Constants::PLAIN_DEFAULT_REPO_URL;
  defaults.apt_channel = apt_channel_of("systemd");
  defaults.apt_channel_without_systemd = apt_channel_of("sysvinit");
  defaults.apt_origins_pattern = APT_Constants::DEFAULT_ORIGINS_PATTERN;
  defaults.apt_bandwidth_limit = std::to_string(APT_Constants::DEFAULT_BANDWIDTH_LIMIT);
  defaults.dnf_url = DNF_Constants::DEFAULT_REPO_URL;
  defaults.dnf_channel = DNF_Constants::DEFAULT_CHANNEL;
  defaults.dnf_gpg_key_is_shipped = !shipped_dnf_key.empty();
  defaults.dnf_gpg_key =
      defaults.dnf_gpg_key_is_shipped ? "file://" + shipped_dnf_key : DNF_Constants::DEFAULT_GPG_KEY_URL;
  defaults.dnf_throttle = DNF_Constants::DEFAULT_THROTTLE;
  defaults.choco_source_location = fmt::format(
      fmt::runtime(Choco_Constants::DEFAULT_REPO_SRC_LOCATION_TEMPLATE), Choco_Constants::DEFAULT_CHANNEL);
  defaults.choco_channel = Choco_Constants::DEFAULT_CHANNEL;
  defaults.choco_schedule = Choco_Constants::DEFAULT_SCHEDULE_OPTIONS;
  return defaults;
}

}  // namespace zant::velmora_host
