#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_package.hpp>
#include <zant/velmora/apt/apt_package_config.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/dnf/dnf_package.hpp>
#include <zant/velmora/dnf/dnf_package_config.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/upgrade_timer/apt_upgrade_timer_command_runner.hpp>
#include <zant/velmora/upgrade_timer/dnf_upgrade_timer_command_runner.hpp>
#include <zant/velmora/upgrade_timer/linux_upgrade_timer_manager.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <Poco/Util/LayeredConfiguration.h>

#include <locale>
#include <utility>

namespace zant::velmora {
namespace {

std::string to_lower(std::string text) {
  const std::locale locale;
  std::use_facet<std::ctype<char>>(locale).tolower(text.data(), text.data() + text.size());
  return text;
}

bool contains(const std::string& text, const char* word) {
  return text.find(word) != std::string::npos;
}

}  // namespace

Linux_Package_Facilitator::Linux_Package_Facilitator(std::shared_ptr<Filesystem> filesystem,
                                                     std::shared_ptr<System> system,
                                                     const Poco::Util::LayeredConfiguration& config,
                                                     const boost::filesystem::path& staging_directory)
    : filesystem_(std::move(filesystem)),
      system_(std::move(system)),
      config_(config),
      staging_directory_(staging_directory),
      package_config_type_(find_package_config_type_()) {}

std::shared_ptr<Package_Config> Linux_Package_Facilitator::create_package_config(
    bool automatic_upgrades) const {
  switch (package_config_type_) {
    case Package_Config_Type::APT:
      return create_apt_package_config_(automatic_upgrades);
    case Package_Config_Type::DNF:
      return create_dnf_package_config_(automatic_upgrades);
    default:
      return nullptr;
  }
}

std::shared_ptr<Package> Linux_Package_Facilitator::create_package(
    std::shared_ptr<Package_Config> config) const {
  if (config && config->type() == package_config_type_) {
    switch (package_config_type_) {
      case Package_Config_Type::APT:
        return std::make_shared<APT_Package>(system_, std::move(config));
      case Package_Config_Type::DNF:
        return std::make_shared<DNF_Package>(system_, std::move(config));
      default:
        break;
    }
  }
  throw_unservable_request("Invalid package configuration");
}

Package_Config_Type Linux_Package_Facilitator::find_package_config_type_() const {
  // A search over the whole text on purpose: a derivative that names its parent anywhere is recognised by it,
  // and a host that names both families is taken for APT's.
  const std::string os_release = to_lower(filesystem_->read_file("/etc/os-release", Read_Flag::WHOLE_TEXT));
  if (contains(os_release, "ubuntu") || contains(os_release, "debian")) {
    return Package_Config_Type::APT;
  }
  if (contains(os_release, "rhel")) {
    return Package_Config_Type::DNF;
  }
  return Package_Config_Type::None;
}

Init Linux_Package_Facilitator::get_system_init_() const {
  return filesystem_->read_file("/proc/1/comm", Read_Flag::WITHOUT_LINE_END) == "systemd" ? Init::systemd
                                                                                          : Init::other;
}

std::shared_ptr<Package_Config> Linux_Package_Facilitator::create_apt_package_config_(
    bool automatic_upgrades) const {
  const Init init = get_system_init_();
  const APT_Repo_Config repo_config(system_, config_, staging_directory_, init);
  const auto command_runner = std::make_shared<APT_Upgrade_Timer_Command_Runner>(system_);
  const auto timer_manager =
      std::make_shared<Linux_Upgrade_Timer_Manager>(filesystem_, command_runner, create_timer_config());
  const APT_Unattended_Upgrade_Config unattended_upgrade_config(config_, staging_directory_, timer_manager,
                                                                automatic_upgrades);
  return std::make_shared<APT_Package_Config>(filesystem_, system_, staging_directory_, repo_config,
                                              unattended_upgrade_config);
}

std::shared_ptr<Package_Config> Linux_Package_Facilitator::create_dnf_package_config_(
    bool automatic_upgrades) const {
  const DNF_Repo_Config repo_config(config_, staging_directory_);
  const auto command_runner = std::make_shared<DNF_Upgrade_Timer_Command_Runner>(system_);
  const auto timer_manager =
      std::make_shared<Linux_Upgrade_Timer_Manager>(filesystem_, command_runner, create_timer_config());
  const DNF_Unattended_Upgrade_Config unattended_upgrade_config(timer_manager, automatic_upgrades);
  return std::make_shared<DNF_Package_Config>(filesystem_, system_, staging_directory_, repo_config,
                                              unattended_upgrade_config);
}

Upgrade_Timer_Manager::Timer_Config Linux_Package_Facilitator::create_timer_config() const {
  const auto staging_dir = [this](const char* family) {
    return (staging_directory_ / "config-files" / family).string();
  };
  if (package_config_type_ == Package_Config_Type::DNF) {
    return create_timer_config_({"package.dnf", DNF_Constants::TIMER_OVERRIDE_DIR, staging_dir("dnf"),
                                 DNF_Constants::TIMER_ON_CALENDAR_FILE,
                                 DNF_Constants::TIMER_RANDOMIZED_DELAY_FILE});
  }
  return create_timer_config_({"package.apt", APT_Constants::TIMER_OVERRIDE_DIR, staging_dir("apt"),
                               APT_Constants::TIMER_ON_CALENDAR_FILE,
                               APT_Constants::TIMER_RANDOMIZED_DELAY_FILE});
}

Upgrade_Timer_Manager::Timer_Config Linux_Package_Facilitator::create_timer_config_(
    const Create_Timer_Config_Params& params) const {
  const boost::filesystem::path override_dir = params.override_dir;
  const boost::filesystem::path staging_dir = params.staging_dir;

  Upgrade_Timer_Manager::Timer_Config timer_config;
  timer_config.on_calendar.target = override_dir / params.on_calendar_file;
  timer_config.on_calendar.source = staging_dir / Upgrade_Timer_Constants::STAGED_ON_CALENDAR_FILE;
  timer_config.on_calendar.value = config_.getString(params.key_prefix + ".upgrade_timer.on_calendar", "");

  timer_config.randomized_delay.target = override_dir / params.randomized_delay_file;
  timer_config.randomized_delay.source = staging_dir / Upgrade_Timer_Constants::STAGED_RANDOMIZED_DELAY_FILE;
  timer_config.randomized_delay.value =
      config_.getString(params.key_prefix + ".upgrade_timer.randomized_delay", "");

  timer_config.override_dir = override_dir;
  return timer_config;
}

}  // namespace zant::velmora
