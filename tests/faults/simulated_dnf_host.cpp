#include <faults/simulated_host.hpp>

namespace zant::velmora_host::faults {
namespace {

constexpr const char* REPOSITORY_FILE = "/etc/yum.repos.d/quorvane.repo";
constexpr const char* EXCLUDE_ALL = "exclude = *\n";
constexpr const char* EXCLUDE_NOTHING = "exclude = \n";

class Simulated_DNF_Host : public Simulated_Host {
 public:
  Simulated_DNF_Host() {
    add_files_();
    add_package_commands_();
    add_upgrade_commands_();
    on_timer("dnf-automatic-install.timer", false);
    start_anew();
  }

 private:
  void add_files_() const {
    disk().put("/etc/os-release", "ID=\"rocky\"\nID_LIKE=\"rhel centos fedora\"\n");
    disk().put("/proc/1/comm", "systemd\n");
    disk().put("/etc/yum.repos.d/others.repo", "[others]\n");
    disk().entries()["/etc/systemd"] = std::nullopt;
    disk().entries()["/etc/systemd/system"] = std::nullopt;
  }

  void add_package_commands_() {
    on_question("which dnf &> /dev/null", [] { return Answer{}; });
    on_question("rpm --query --queryformat '%{NAME}-%{VERSION}-%{RELEASE} %{SUMMARY}\\n' gpg-pubkey", [this] {
      return tools().key_is_imported ? Answer{0, "gpg-pubkey-1-1 Vendor\n"}
                                     : Answer{1, "package gpg-pubkey is not installed\n"};
    });
    on_command("rpm --import https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg", [this] {
      tools().key_is_imported = tools().key_is_imported || server_answers();
      return Answer{server_answers() ? 0 : 1};
    });
    on_question("dnf repoquery --repoid quorvane -q | grep -q ^zant-velmora", [this] {
      const std::string text = disk().text_of(REPOSITORY_FILE);
      const bool is_excluded = text.find(EXCLUDE_ALL) != std::string::npos;
      return Answer{server_answers() && text.starts_with("[quorvane]") && !is_excluded ? 0 : 1};
    });
    on_command(option_("*"), [this] { return exclude_(EXCLUDE_ALL); });
    on_command(option_(""), [this] { return exclude_(EXCLUDE_NOTHING); });
  }

  void add_upgrade_commands_() {
    on_question("which dnf-automatic &> /dev/null",
                [this] { return Answer{tools().has_upgrade_package ? 0 : 1}; });
    on_command("dnf -yq install dnf-automatic", [this] {
      tools().other_timers_run = tools().other_timers_run || !tools().has_upgrade_package;
      tools().has_upgrade_package = true;
      return Answer{};
    });
    on_command(
        "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer "
        "dnf-automatic-notifyonly.timer",
        [this] {
          tools().other_timers_run = false;
          return Answer{};
        });
    on_question(
        "! systemctl is-enabled --quiet dnf-automatic.timer dnf-automatic-download.timer "
        "dnf-automatic-notifyonly.timer 2> /dev/null && "
        "! systemctl is-active --quiet dnf-automatic.timer dnf-automatic-download.timer "
        "dnf-automatic-notifyonly.timer",
        [this] { return Answer{tools().other_timers_run ? 1 : 0}; });
  }

  static std::string option_(const std::string& value) {
    const std::string option = "--setopt=quorvane.exclude=" + value + " --save";
    return "bash -c '[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]] && "
           "dnf "
           "config-manager " +
           option + " || yum-config-manager " + option + "'";
  }

  // DNF writes the file again.
  Answer exclude_(const std::string& line) const {
    std::string text = disk().text_of(REPOSITORY_FILE);
    if (!text.starts_with("[quorvane]")) {
      return {1};
    }
    const std::size_t option = text.find("exclude = ");
    disk().put(REPOSITORY_FILE, text.substr(0, option) + line);
    return {};
  }
};

}  // namespace

std::shared_ptr<Simulated_Host> make_dnf_host() {
  return std::make_shared<Simulated_DNF_Host>();
}

}  // namespace zant::velmora_host::faults
