#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>
#include <zant/velmora_host/families/family_registry.hpp>

namespace zant::velmora_host {
namespace {

std::vector<std::unique_ptr<Family>> make_families() {
  std::vector<std::unique_ptr<Family>> families;
  // In the library's order: a host whose os-release names both is an APT host.
  families.push_back(std::make_unique<APT_Family>());
  families.push_back(std::make_unique<DNF_Family>());
  return families;
}

}  // namespace

const Family_Registry& Family_Registry::built_in() {
  static const Family_Registry registry(make_families());
  return registry;
}

}  // namespace zant::velmora_host
