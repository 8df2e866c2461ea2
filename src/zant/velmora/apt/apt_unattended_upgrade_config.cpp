#include <zant/velmora/apt/apt_unattended_upgrade_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/tokenizer.hpp>

#include <utility>

namespace zant::velmora {
namespace {

using Poco::Util::LayeredConfiguration;

// Empty tokens are dropped; a token of blanks is none and stays.
std::vector<std::string> split(const std::string& text, const char* separators) {
  const boost::char_separator<char> separator(separators, "", boost::drop_empty_tokens);
  const boost::tokenizer<boost::char_separator<char>> tokens(text, separator);
  return {tokens.begin(), tokens.end()};
}

}  // namespace

APT_Unattended_Upgrade_Config::APT_Unattended_Upgrade_Config(
    const LayeredConfiguration& config, const boost::filesystem::path& templates_dir,
    std::shared_ptr<Upgrade_Timer_Manager> timer_manager, bool enabled)
    : service(generate_service_(config, templates_dir)),
      timer_manager(std::move(timer_manager)),
      enabled(enabled) {}

APT_Unattended_Upgrade_Config::Service APT_Unattended_Upgrade_Config::generate_service_(
    const LayeredConfiguration& config, const boost::filesystem::path& templates_dir) {
  Service service;
  service.backup_files = make_service_file_paths_(APT_Constants::APT_CONFIG_BACKUP_DIR);
  service.source_files = make_service_file_paths_(templates_dir / "config-files" / "apt");
  service.target_files = make_service_file_paths_(APT_Constants::APT_GLOBAL_CONFIG_DIR);
  service.origins_pattern = build_origins_pattern_(config);
  service.bandwidth_limit =
      config.getInt("package.apt.repo.bandwidth_limit", APT_Constants::DEFAULT_BANDWIDTH_LIMIT);
  return service;
}

std::vector<boost::filesystem::path> APT_Unattended_Upgrade_Config::make_service_file_paths_(
    const boost::filesystem::path& dir) {
  std::vector<boost::filesystem::path> paths;
  for (const auto& name : APT_Constants::UNATTENDED_UPGRADE_SERVICE_FILENAMES) {
    paths.push_back(dir / name);
  }
  return paths;
}

std::string APT_Unattended_Upgrade_Config::build_origins_pattern_(const LayeredConfiguration& config) {
  const std::string origins =
      config.getString("package.apt.repo.origins_pattern", APT_Constants::DEFAULT_ORIGINS_PATTERN);
  std::vector<std::string> quoted;
  for (const auto& origin : split(origins, ";")) {
    quoted.push_back('"' + boost::algorithm::trim_copy(origin) + '"');
  }
  return boost::algorithm::join(quoted, ";") + ";";
}

}  // namespace zant::velmora
