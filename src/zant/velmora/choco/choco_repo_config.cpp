#include <zant/velmora/choco/choco_repo_config.hpp>

#include <zant/velmora/choco/choco_constants.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <fmt/format.h>

namespace zant::velmora {

Choco_Repo_Config::Choco_Repo_Config(const Poco::Util::LayeredConfiguration& config)
    : source_location(generate_source_location_(config)) {}

std::string Choco_Repo_Config::generate_source_location_(const Poco::Util::LayeredConfiguration& config) {
  if (config.has("package.choco.repo.source_location")) {
    return config.getString("package.choco.repo.source_location");
  }
  const std::string channel =
      config.getString("package.choco.repo.channel", Choco_Constants::DEFAULT_CHANNEL);
  return fmt::format(fmt::runtime(Choco_Constants::DEFAULT_REPO_SRC_LOCATION_TEMPLATE), channel);
}

}  // namespace zant::velmora
