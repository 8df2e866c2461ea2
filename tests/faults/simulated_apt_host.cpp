#include <faults/simulated_host.hpp>

namespace zant::velmora_host::faults {
namespace {

constexpr const char* SOURCE_LIST = "/etc/apt/sources.list.d/zant-velmora.list";

class Simulated_APT_Host : public Simulated_Host {
 public:
  Simulated_APT_Host() {
    add_files_();
    add_package_commands_();
    add_upgrade_commands_();
    on_timer("apt-daily-upgrade.timer", true);
    start_anew();
  }

 private:
  void add_files_() const {
    disk().put("/etc/os-release", "ID=debian\n");
    disk().put("/proc/1/comm", "systemd\n");
    disk().put("/etc/apt/apt.conf.d/20auto-upgrades", "APT::Periodic::Enable \"0\";\n");
    disk().put("/etc/apt/apt.conf.d/50unattended-upgrades", "Unattended-Upgrade::Mail \"root\";\n");
    for (const char* directory :
         {"/etc/apt/trusted.gpg.d", "/etc/apt/sources.list.d", "/etc/systemd", "/etc/systemd/system"}) {
      disk().entries()[directory] = std::nullopt;
    }
  }

  void add_package_commands_() {
    on_question("dpkg-query -f='${Architecture}' -W zant-velmora", [] { return Answer{0, "amd64"}; });
    on_command("apt-get -qq update", [this] { return refresh_(); });
    on_command("sync --file-system /var/lib/apt/lists", [] { return Answer{}; });
    on_question("apt-cache policy zant-velmora", [this] { return Answer{0, " 500 " + tools().list_in_use}; });
    on_question("apt-mark showhold | grep -q ^zant-velmora$",
                [this] { return Answer{tools().is_held ? 0 : 1}; });
    on_question("dpkg-query --show --showformat='${db:Status-Want}' zant-velmora", [this] {
      return Answer{0, tools().is_held ? "hold" : "install"};
    });
    on_command("apt-mark -qq hold zant-velmora", [this] { return hold_(true); });
    on_command("apt-mark -qq unhold zant-velmora", [this] { return hold_(false); });
  }

  void add_upgrade_commands_() {
    on_question("which unattended-upgrades > /dev/null",
                [this] { return Answer{tools().has_upgrade_package ? 0 : 1}; });
    on_command("NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades",
               [this] {
                 tools().has_upgrade_package = true;
                 return Answer{};
               });
    on_command("service unattended-upgrades start > /dev/null", [this] {
      tools().upgrade_service_runs = true;
      return Answer{};
    });
  }

  Answer hold_(bool held) {
    tools().is_held = held;
    return {};
  }

  // APT refuses to work with a list that it cannot read, and forgets what it had of one that is gone.
  Answer refresh_() {
    const std::string list = disk().text_of(SOURCE_LIST);
    const bool is_readable = list.empty() || list.starts_with("deb [arch=amd64] https://");
    if (!is_readable || (!list.empty() && !server_answers())) {
      return {100};
    }
    tools().list_in_use = list;
    return {};
  }
};

}  // namespace

std::shared_ptr<Simulated_Host> make_apt_host() {
  return std::make_shared<Simulated_APT_Host>();
}

}  // namespace zant::velmora_host::faults
