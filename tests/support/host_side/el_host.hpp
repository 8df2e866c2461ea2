#pragma once

#include <support/host_side/host_in_directory.hpp>

#include <string>

namespace zant::velmora_host::test_support {

/// A host of the RHEL family with systemd in a directory, on which nothing has been set up yet and nothing is
/// held. It answers what the library asks in a cycle and runs nothing that changes it, unless it is told to.
class El_Host : public Host_In_Directory {
 public:
  El_Host() : Host_In_Directory("ID=\"rocky\"\nID_LIKE=\"rhel centos fedora\"\nVERSION_ID=\"9.4\"\n") {
    answer_about_upgrades(1, "", "");
    // What the tools tell of the next upgrade is for other tests.
    system->on_like("timeout *", 127);
    system->on_like("TZ=UTC timeout *", 127);
    system->on_like("LC_ALL=C timeout *", 127);
    system->on_like("interpreter=*", 127);
    services.filesystem->create_directories("/etc/yum.repos.d");
    release();
    trust("gpg-pubkey-11111111-5f5e1000 Vendor <vendor@velmora.test> public key\n");
    script(0, {"which dnf &> /dev/null", "which dnf-automatic &> /dev/null", "rpm --quiet --query gpg-pubkey",
               "! systemctl is-enabled --quiet dnf-automatic.timer dnf-automatic-download.timer "
               "dnf-automatic-notifyonly.timer 2> /dev/null && "
               "! systemctl is-active --quiet dnf-automatic.timer dnf-automatic-download.timer "
               "dnf-automatic-notifyonly.timer",
               "test ! -d /run/systemd/system || systemctl is-active --quiet dnf-automatic-install.timer"});
  }

  /// What the last automatic upgrade printed when it failed, and when DNF last refreshed the repository, in
  /// seconds of the epoch; empty for never.
  void answer_about_upgrades(int is_failed, const std::string& journal, const std::string& refreshed) {
    system->on(
        "systemctl is-failed --quiet dnf-automatic-install.service && journalctl --quiet --output=cat "
        "--lines=60 --unit=dnf-automatic-install.service 2> /dev/null",
        is_failed, journal);
    system->on(
        "stat --format=%Y /var/cache/dnf/quorvane-*/repodata/repomd.xml 2> /dev/null | sort "
        "--numeric-sort | tail -n 1",
        0, refreshed);
  }

  /// The packages of the repository are excluded from now on, or it cannot be reached: DNF says the same.
  void hold() { answer_list_query_(1); }

  /// The packages of the repository are listed from now on.
  void release() { answer_list_query_(0); }

  /// The keys that rpm has from now on, a line for each.
  void trust(const std::string& keys) {
    system->on(LIST_KEYS, keys.empty() ? 1 : 0,
               keys.empty() ? "package gpg-pubkey is not installed\n" : keys);
  }

  /// The commands that change the host succeed from now on, and change nothing.
  void allow_changes() {
    script(0, {"rpm --import https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg",
               EXCLUDE_PACKAGES, INCLUDE_PACKAGES,
               "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
               "dnf-automatic-notifyonly.timer",
               "systemctl start dnf-automatic-install.timer"});
  }

  /// What a cycle with the default settings leaves.
  void set_up() {
    write("/etc/yum.repos.d/quorvane.repo",
          "[quorvane]\nname=Velmora Recorder\n"
          "baseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n"
          "gpgkey=https://repo.velmora.example/velmora-yum-repo/"
          "quorvane-yum-repo.gpg\nthrottle=500k\ngpgcheck=1\n");
  }

  /// What the status asks beside a plan: version 1.0-1 is installed and 1.1-1 offered, service and timer run.
  void answer_status() {
    system->on("rpm --query --queryformat '%{VERSION}-%{RELEASE}' zant-velmora", 0, "1.0-1");
    system->on(
        "dnf --quiet --cacheonly repoquery --repoid quorvane --latest-limit 1 --queryformat "
        "'%{version}-%{release}' zant-velmora 2> /dev/null",
        0, "1.1-1\n");
    system->on("systemctl is-active package-minder.service 2> /dev/null", 0, "active\n");
    system->on("systemctl is-active --quiet dnf-automatic-install.timer", 0);
    system->on("systemctl is-enabled dnf-automatic-install.timer 2> /dev/null", 0, "enabled\n");
    system->on(
        "TZ=UTC systemctl show --property=NextElapseUSecRealtime --value dnf-automatic-install.timer 2> "
        "/dev/null",
        0, "Sat 2026-11-21 06:00:00 UTC\n");
  }

  /// What the checks ask: nothing is missing, masked or read-only, and dnf is not dnf5.
  void pass_checks() {
    services.filesystem->create_directories("/etc/systemd/system");
    script(0, {"command -v bash > /dev/null", "command -v grep > /dev/null", "command -v dnf > /dev/null",
               "command -v rpm > /dev/null", "command -v which > /dev/null", "command -v prlimit > /dev/null",
               "command -v systemctl > /dev/null",
               "dnf config-manager --help &> /dev/null || command -v yum-config-manager > /dev/null",
               "test -w /etc/yum.repos.d", "test -w /etc/systemd/system"});
    system->on("dnf --version 2> /dev/null | head -n 1 | grep -q dnf5", 1);
    for (const char* unit : {"dnf-automatic-install.timer", "dnf-automatic-install.service"}) {
      system->on(std::string("systemctl is-enabled ") + unit + " 2> /dev/null", 0, "enabled\n");
    }
  }

  static constexpr const char* LIST_KEYS =
      "rpm --query --queryformat '%{NAME}-%{VERSION}-%{RELEASE} %{SUMMARY}\\n' gpg-pubkey";
  static constexpr const char* EXCLUDE_PACKAGES =
      "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && dnf "
      "config-manager --setopt=quorvane.exclude=* --save || yum-config-manager --setopt=quorvane.exclude=* "
      "--save'";
  static constexpr const char* INCLUDE_PACKAGES =
      "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && dnf "
      "config-manager --setopt=quorvane.exclude= --save || yum-config-manager --setopt=quorvane.exclude= "
      "--save'";

 private:
  // As a cycle runs it and as a report does.
  void answer_list_query_(int exit_code) {
    script(exit_code, {"dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora",
                       "dnf --cacheonly repoquery --repoid quorvane -q | grep -q ^zant-velmora"});
  }
};

}  // namespace zant::velmora_host::test_support
