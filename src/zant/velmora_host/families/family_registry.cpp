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

std::optional<std::string> Family_Registry::contained_form_of(
    const std::string& line, const boost::filesystem::path& directory) const {
  for (const auto& family : families_) {
    if (auto form = family->contained_form_of(line, directory)) {
      return form;
    }
  }
  return std::nullopt;
}

std::vector<boost::filesystem::path> Family_Registry::private_directories() const {
  std::vector<boost::filesystem::path> directories;
  for (const auto& family : families_) {
    const auto added = family->private_directories();
    directories.insert(directories.end(), added.begin(), added.end());
  }
  return directories;
}

bool Family_Registry::installs_packages(const std::string& line) const {
  return std::any_of(families_.begin(), families_.end(), [&line](const auto& family) {
    return family->traits_of(line).kind == Command_Kind::INSTALLS_PACKAGES;
  });
}

}  // namespace zant::velmora_host
