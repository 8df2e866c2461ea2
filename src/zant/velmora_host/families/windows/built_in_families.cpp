#include <zant/velmora_host/families/choco/choco_family.hpp>
#include <zant/velmora_host/families/family_registry.hpp>

namespace zant::velmora_host {
namespace {

std::vector<std::unique_ptr<Family>> make_families() {
  std::vector<std::unique_ptr<Family>> families;
  families.push_back(std::make_unique<Choco_Family>());
  return families;
}

}  // namespace

const Family_Registry& Family_Registry::built_in() {
  static const Family_Registry registry(make_families());
  return registry;
}

}  // namespace zant::velmora_host
