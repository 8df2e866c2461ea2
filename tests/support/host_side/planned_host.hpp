#pragma once

#include <zant/velmora_host/families/package_factory.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>

#include <support/host_side/rooted_filesystem.hpp>
#include <support/host_side/staging_example.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace zant::velmora_host::test_support {

/// A Debian host in a directory on which the package is installed and nothing has been set up yet. Its log is
/// swallowed.
class Planned_Host {
 public:
  Planned_Host() {
    make_staging_tree(directory_.path() / "installed");
    write("/etc/os-release", "ID=debian\n");
    write("/proc/1/comm", "systemd\n");
    for (const char* directory :
         {"/etc/apt/trusted.gpg.d", "/etc/apt/sources.list.d", "/etc/apt/apt.conf.d"}) {
      services.filesystem->create_directories(directory);
    }
    system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
    system->on("apt-mark showhold | grep -q ^zant-velmora$", 1);
    system->on("! apt-mark showhold | grep -q ^zant-velmora$", 0);
    system->on("which unattended-upgrades > /dev/null", 0);
    system->on("test ! -d /run/systemd/system || systemctl is-active --quiet unattended-upgrades.service", 0);
    system->on("test ! -d /run/systemd/system || systemctl is-active --quiet apt-daily-upgrade.timer", 0);
  }

  void write(const std::string& name, const std::string& text) {
    services.filesystem->create_directories(boost::filesystem::path(name).parent_path());
    services.filesystem->write_file(name, text, velmora::Write_Flag::REPLACE);
  }

  /// What a cycle with the default settings leaves.
  void set_up() {
    write("/etc/apt/trusted.gpg.d/zant-velmora.gpg", "the keys");
    write("/etc/apt/sources.list.d/zant-velmora.list",
          "deb [arch=amd64] https://repo.velmora.example/velmora-apt-repo/ systemd-production main\n");
    write("/etc/apt/apt.conf.d/20auto-upgrades", "APT::Periodic::Enable \"1\";\n");
    write("/etc/apt/apt.conf.d/50unattended-upgrades",
          "Unattended-Upgrade::Origins-Pattern {\"o=Quorvane Velmora Core VMS Repo\";};\n");
    write("/etc/apt/apt.conf.d/75lowerspeed", "Acquire::http::Dl-Limit \"500\";\n");
  }

  Settings settings() const {
    Settings_Sources sources;
    sources.file = "/nowhere";
    sources.overrides = {{"minder.staging_directory", (directory_.path() / "installed").string()},
                         {"minder.state_directory", state_directory().string()}};
    return Settings(sources);
  }

  boost::filesystem::path state_directory() const { return directory_.path() / "state"; }

 private:
  Temporary_Directory directory_;
  velmora::test_support::Captured_Log log_;

 public:
  std::shared_ptr<velmora::test_support::Fake_System> system =
      std::make_shared<velmora::test_support::Fake_System>();
  Host_Services services{system, std::make_shared<Rooted_Filesystem>(directory_.path() / "root")};
};

}  // namespace zant::velmora_host::test_support
