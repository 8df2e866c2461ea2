#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/families/repository_limit.hpp>

#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The limit on APT hosts: a file of preferences that pins the packages of the repository's server.
///
/// APT can tell packages by their server, or by what their repository says of itself. What a repository says
/// of itself whoever publishes there may change, so it is the server: no other repository of the host may be
/// on it.
class Repository_Pin : public Repository_Limit {
 public:
  static constexpr const char* FILE = "/etc/apt/preferences.d/zant-velmora.pref";

  /// @param patterns of the packages that are allowed; none is no limit, and the file is removed.
  Repository_Pin(std::shared_ptr<velmora::Filesystem> filesystem, std::vector<std::string> patterns,
                 const boost::filesystem::path& staging_directory);

  void prepare_templates() override {}
  void render() override;
  void set_up_if_necessary() override;
  void purge() override;

 private:
  void remove_if_there_();

  zant::logging::Source log_;
  std::shared_ptr<velmora::Filesystem> filesystem_;
  std::vector<std::string> patterns_;
  boost::filesystem::path source_list_;
  boost::filesystem::path staged_file_;
  std::string site_;
};

/// Repositories of the host, not ours, whose packages the pin would block as well: they are on the same
/// server.
///
/// @param site the name of the server.
Findings find_repositories_on_site(velmora::Filesystem& filesystem, const std::string& site,
                                   const std::vector<std::string>& our_urls);

/// The name of the server in an address, as APT knows it; empty where there is none, as with "file:".
std::string site_of(const std::string& url);

}  // namespace zant::velmora_host
