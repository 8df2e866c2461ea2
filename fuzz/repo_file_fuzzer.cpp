// An installed repository file, which an administrator or anybody's tool may have written: it is put right by
// one cycle, or left alone by this one and the next.

#include <fuzz/fuzzer.hpp>
#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>
#include <support/fake_upgrade_timer_manager.hpp>
#include <support/recorded_settings.hpp>

#include <zant/velmora/dnf/dnf_package_config.hpp>

#include <memory>

using namespace zant::velmora;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto journal = make_journal();
  const auto files = std::make_shared<Fake_Filesystem>(journal);
  files->add_directory("/etc/yum.repos.d");
  files->add_file("/staging/config-files/dnf/templates/quorvane.repo.template",
                  "[{}]\nname={}\nbaseurl={}\ngpgkey={}\nthrottle={}\n");
  const Recorded_Settings settings{{"package.dnf.repo.baseurl", "http://mirror.example/yum/"},
                                   {"package.dnf.repo.gpg_key", "http://mirror.example/key.gpg"},
                                   {"package.dnf.repo.throttle", "250k"}};
  const auto system = std::make_shared<Fake_System>(journal);
  system->on("rpm --import http://mirror.example/key.gpg", 0);
  DNF_Package_Config config(
      files, system, "/staging", DNF_Repo_Config(settings, "/staging"),
      DNF_Unattended_Upgrade_Config(std::make_shared<Fake_Upgrade_Timer_Manager>(journal), false));
  const Filesystem::Path installed = "/etc/yum.repos.d/quorvane.repo";
  files->add_file(installed, input);

  config.setup_repo_if_necessary();
  const auto after_one_cycle = files->contents(installed);
  config.setup_repo_if_necessary();

  require(after_one_cycle == input ||
          after_one_cycle == files->contents("/staging/config-files/dnf/quorvane.repo"));
  require(files->contents(installed) == after_one_cycle);
}
