// The name of the host's distribution: the host side takes the host for one of the family that the library
// does.

#include <fuzz/fuzzer.hpp>

#include <zant/velmora_host/families/family_registry.hpp>

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_settings.hpp>

#include <memory>

using namespace zant::velmora;
using namespace zant::velmora::test_support;

namespace {

class Silent_System : public System {
 public:
  Command_Result run_command(const std::string& /*command*/, bool /*flag*/) override { return {"", 0}; }
};

}  // namespace

void try_input(const std::string& input) {
  const auto files = std::make_shared<Fake_Filesystem>();
  files->add_file("/etc/os-release", input);
  for (const char* const name :
       {"apt/templates/zant-velmora.list", "apt/templates/50unattended-upgrades",
        "apt/templates/75lowerspeed", "apt/templates/zant-on-calendar.conf",
        "apt/templates/zant-randomized-delay.conf", "dnf/templates/quorvane.repo",
        "dnf/templates/zant-on-calendar.conf", "dnf/templates/zant-randomized-delay.conf"}) {
    files->add_file(std::string("/staging/config-files/") + name + ".template", "\n");
  }
  const Recorded_Settings settings{};
  const Linux_Package_Facilitator facilitator(files, std::make_shared<Silent_System>(), settings, "/staging");
  const auto config = facilitator.create_package_config(true);
  const auto* const family = zant::velmora_host::Family_Registry::built_in().find(*files);
  require((family == nullptr) == (config == nullptr));
  require(family == nullptr || family->type() == config->type());
}
