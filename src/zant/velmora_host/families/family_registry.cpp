#include <zant/velmora_host/families/family_registry.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora_host {

Family_Registry::Family_Registry(std::vector<std::unique_ptr<Family>> families)
    : families_(std::move(families)) {}

const Family* Family_Registry::find(velmora::Filesystem& filesystem) const {
  const auto found = std::find_if(families_.begin(), families_.end(), [&filesystem](const auto& candidate) {
    return candidate->matches(filesystem);
  });
  return found == families_.end() ? nullptr : found->get();
}

Staging_Layout Family_Registry::staging_layout() const {
  Staging_Layout layout;
  for (const auto& family : families_) {
    layout.add(family->staging_layout());
  }
  return layout;
}

std::map<std::string, std::string> Family_Registry::command_environment() const {
  std::map<std::string, std::string> environment;
  for (const auto& family : families_) {
    environment.merge(family->command_environment());
  }
  return environment;
}

bool Family_Registry::installs_packages(const std::string& line) const {
  return std::any_of(families_.begin(), families_.end(), [&line](const auto& family) {
    return family->traits_of(line).kind == Command_Kind::INSTALLS_PACKAGES;
  });
}

}  // namespace zant::velmora_host
