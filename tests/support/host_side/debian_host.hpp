#pragma once

#include <support/host_side/host_in_directory.hpp>
#include <support/host_side/keyring_examples.hpp>

#include <string>

namespace zant::velmora_host::test_support {

/// A Debian host with systemd in a directory, on which nothing has been set up yet and nothing is held. It
/// answers what the library asks in a cycle and runs nothing that changes it, unless it is told to.
class Debian_Host : public Host_In_Directory {
 public:
  Debian_Host() : Host_In_Directory("ID=debian\n") {
    for (const char* directory :
         {"/etc/apt/trusted.gpg.d", "/etc/apt/sources.list.d", "/etc/apt/apt.conf.d"}) {
      services.filesystem->create_directories(directory);
    }
    system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
    system->on("dpkg-query --show --showformat='${db:Status-Want}' zant-velmora", 0, "install");
    system->on("apt-config dump", 0, "Acquire::AllowInsecureRepositories \"0\";\n");
    // What the tools tell of the next upgrade is for other tests.
    system->on_like("LC_ALL=C timeout *", 127);
    system->on("apt-get --print-uris update 2> /dev/null", 0, "");
    release();
    script(0, {"which unattended-upgrades > /dev/null",
               "test ! -d /run/systemd/system || systemctl is-active --quiet unattended-upgrades.service",
               "test ! -d /run/systemd/system || systemctl is-active --quiet apt-daily-upgrade.timer"});
  }

  /// The package is held from now on.
  void hold() {
    system->on("apt-mark showhold | grep -q ^zant-velmora$", 0);
    system->on("! apt-mark showhold | grep -q ^zant-velmora$", 1);
  }

  /// The package is not held from now on.
  void release() {
    system->on("apt-mark showhold | grep -q ^zant-velmora$", 1);
    system->on("! apt-mark showhold | grep -q ^zant-velmora$", 0);
  }

  /// The commands that change the host succeed from now on, and change nothing.
  void allow_changes() {
    script(0, {"apt-get -qq update", "sync --file-system /var/lib/apt/lists",
               "apt-mark -qq hold zant-velmora", "apt-mark -qq unhold zant-velmora",
               "service unattended-upgrades start > /dev/null", "systemctl start apt-daily-upgrade.timer"});
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

  /// What the status asks beside a plan: version 1.0 is installed and 1.1 offered, service and timer run.
  void answer_status() {
    system->on("apt-cache policy zant-velmora", 0,
               "zant-velmora:\n  Installed: 1.0\n  Candidate: 1.1\n  Version table:\n");
    system->on("systemctl is-active package-minder.service 2> /dev/null", 0, "active\n");
    system->on("systemctl is-active --quiet apt-daily-upgrade.timer", 0);
    system->on("systemctl is-enabled apt-daily-upgrade.timer 2> /dev/null", 0, "enabled\n");
    system->on(
        "TZ=UTC systemctl show --property=NextElapseUSecRealtime --value apt-daily-upgrade.timer 2> "
        "/dev/null",
        0, "Sat 2026-11-21 03:00:00 UTC\n");
  }

  /// What the checks ask: nothing is missing, masked or read-only, and the keyring holds one good key.
  void pass_checks() {
    services.filesystem->create_directories("/etc/systemd/system");
    script(0, {"command -v bash > /dev/null", "command -v grep > /dev/null", "command -v apt-get > /dev/null",
               "command -v apt-mark > /dev/null", "command -v apt-cache > /dev/null",
               "command -v dpkg-query > /dev/null", "command -v which > /dev/null",
               "command -v service > /dev/null", "command -v systemctl > /dev/null",
               "test -w /etc/apt/trusted.gpg.d", "test -w /etc/apt/sources.list.d",
               "test -w /etc/apt/apt.conf.d", "test -w /etc/systemd/system"});
    for (const char* unit : {"apt-daily-upgrade.timer", "apt-daily-upgrade.service", "apt-daily.timer",
                             "apt-daily.service", "unattended-upgrades.service"}) {
      system->on(std::string("systemctl is-enabled ") + unit + " 2> /dev/null", 0, "enabled\n");
    }
    put_keyring(GOOD_KEYRING);
  }

  /// Replaces the keyring of the installed staging tree.
  void put_keyring(const std::string& keyring) {
    services.filesystem->write_file(installed_tree() / "keyrings/zant-velmora.gpg", keyring,
                                    velmora::Write_Flag::REPLACE);
  }
};

}  // namespace zant::velmora_host::test_support
