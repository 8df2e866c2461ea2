#include <zant/velmora/dnf/dnf_repo_config.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <fmt/format.h>

namespace zant::velmora {
namespace {

std::string get_base_url(const Poco::Util::LayeredConfiguration& config) {
  if (config.has("package.dnf.repo.baseurl")) {
    return config.getString("package.dnf.repo.baseurl");
  }
  const std::string url = config.getString("package.dnf.repo.url", DNF_Constants::DEFAULT_REPO_URL);
  const std::string channel = config.getString("package.dnf.repo.channel", DNF_Constants::DEFAULT_CHANNEL);
  return fmt::format("{}/{}/", url, channel);
}

}  // namespace

DNF_Repo_Config::DNF_Repo_Config(const Poco::Util::LayeredConfiguration& config,
                                 const boost::filesystem::path& staging_directory)
    : staged_repo_file(staging_directory / "config-files" / "dnf" / DNF_Constants::DNF_REPO_FILE),
      installed_repo_file(DNF_Constants::REPO_FILE_PATH),
      gpg_key_url(config.getString("package.dnf.repo.gpg_key", DNF_Constants::DEFAULT_GPG_KEY_URL)),
      base_url(get_base_url(config)),
      throttle(config.getString("package.dnf.repo.throttle", DNF_Constants::DEFAULT_THROTTLE)) {}

}  // namespace zant::velmora
