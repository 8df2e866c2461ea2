#pragma once

#include <zant/velmora/apt/apt_package_config.hpp>

#include <support/fake_upgrade_timer_manager.hpp>
#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace zant::velmora::test_support {

/// A configuration over a Debian host on which nothing of it is installed yet and every command succeeds.
class Apt_Package_Config_Test : public testing::Test {
 protected:
  static constexpr const char* REFRESH = "apt-get -qq update";
  static constexpr const char* POLICY = "apt-cache policy zant-velmora";
  static constexpr const char* RELEASE = "apt-mark -qq unhold zant-velmora";
  static constexpr const char* PRESENCE = "which unattended-upgrades > /dev/null";
  static constexpr const char* INSTALL =
      "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades";
  static constexpr const char* START = "service unattended-upgrades start > /dev/null";

  Apt_Package_Config_Test() {
    const std::string templates = "/staging/config-files/apt/templates/";
    host.files->add_file(templates + "zant-velmora.list.template", "deb [arch={2}] {0} {1} main\n");
    host.files->add_file(templates + "50unattended-upgrades.template", "Origins {}");
    host.files->add_file(templates + "75lowerspeed.template", "Limit {}");
    host.files->add_file("/staging/config-files/apt/20auto-upgrades", "Enable");
    host.files->add_file("/staging/keyrings/zant-velmora.gpg", "key");
    host.files->add_directory("/etc/apt/trusted.gpg.d");
    host.files->add_directory("/etc/apt/sources.list.d");
    host.files->add_directory("/etc/apt/apt.conf.d");
    host.system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
    for (const char* command : {REFRESH, POLICY, RELEASE, PRESENCE, INSTALL, START}) {
      host.system->on(command, 0);
    }
  }

  APT_Repo_Config make_repo_config() const {
    return APT_Repo_Config(host.system, settings, "/staging", Init::systemd);
  }

  APT_Unattended_Upgrade_Config make_upgrade_config(bool enabled = true) const {
    return APT_Unattended_Upgrade_Config(settings, "/staging", timer_manager, enabled);
  }

  APT_Package_Config make_config(bool enabled = true) {
    return make_config(make_repo_config(), make_upgrade_config(enabled));
  }

  APT_Package_Config make_config(const APT_Repo_Config& repo_config,
                                 const APT_Unattended_Upgrade_Config& upgrade_config) {
    APT_Package_Config config(host.files, host.system, "/staging", repo_config, upgrade_config);
    host.take_journal();
    return config;
  }

  /// What the host's file of that name under /etc/apt holds.
  std::optional<std::string> installed(const std::string& name) const {
    return host.files->contents("/etc/apt/" + name);
  }

  Recorded_Host host;
  Recorded_Settings settings{{"package.apt.repo.url", "https://host/apt/"},
                             {"package.apt.repo.channel", "testing"},
                             {"package.apt.repo.origins_pattern", "o=Vendor"},
                             {"package.apt.repo.bandwidth_limit", "250"}};
  std::shared_ptr<Fake_Upgrade_Timer_Manager> timer_manager =
      std::make_shared<Fake_Upgrade_Timer_Manager>(host.journal());
};

}  // namespace zant::velmora::test_support
