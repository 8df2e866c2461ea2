#include <zant/velmora/apt/apt_repo_config.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/package_minder/errors.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <fmt/format.h>

#include <optional>

namespace zant::velmora {
namespace {

using Poco::Util::LayeredConfiguration;

std::optional<std::string> get_override(const LayeredConfiguration& config, const std::string& key) {
  if (!config.has(key)) {
    return std::nullopt;
  }
  return config.getString(key);
}

// sysvinit hosts are served over plain HTTP on purpose: they are old enough to lack current TLS.
const std::string& default_url(Init init) {
  return init == Init::systemd ? APT_Constants::SECURE_DEFAULT_REPO_URL
                               : APT_Constants::PLAIN_DEFAULT_REPO_URL;
}

std::string default_channel(Init init) {
  const auto channel_of = [](const char* init_name) {
    return fmt::format(fmt::runtime(APT_Constants::DEFAULT_CHANNEL_FORMAT), init_name);
  };
  switch (init) {
    case Init::systemd:
      return channel_of("systemd");
    case Init::other:
      return channel_of("sysvinit");
  }
  throw_broken_invariant("Invalid init value");
}

}  // namespace

APT_Repo_Config::APT_Repo_Config(std::shared_ptr<System> system, const LayeredConfiguration& config,
                                 const boost::filesystem::path& templates_dir, Init init)
    : keyring(generate_keyring_(templates_dir)),
      source_list(generate_source_list_(system, config, templates_dir, init)) {}

APT_Repo_Config::Keyring APT_Repo_Config::generate_keyring_(const boost::filesystem::path& templates_dir) {
  return {templates_dir / "keyrings" / APT_Constants::APT_REPO_KEYRING_FILE,
          APT_Constants::REPO_KEYRING_PATH};
}

APT_Repo_Config::Source_List APT_Repo_Config::generate_source_list_(
    std::shared_ptr<System> system, const LayeredConfiguration& config,
    const boost::filesystem::path& templates_dir, Init init) {
  const auto url_override = get_override(config, "package.apt.repo.url");
  const auto channel_override = get_override(config, "package.apt.repo.channel");

  Source_List list;
  list.source = (templates_dir / "config-files" / "apt" / APT_Constants::APT_SOURCE_LIST_FILE).string();
  list.target = APT_Constants::SOURCE_LIST_PATH;
  list.url = url_override ? *url_override : default_url(init);
  list.channel = channel_override ? *channel_override : default_channel(init);
  list.architecture =
      system->run_command(APT_Constants::ARCHITECTURE_QUERY, Run_Flag::WAIT_AND_CAPTURE).output;
  return list;
}

}  // namespace zant::velmora
