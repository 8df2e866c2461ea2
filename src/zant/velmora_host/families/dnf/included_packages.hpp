#pragma once

#include <zant/velmora_host/families/repository_limit.hpp>

#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The limit on DNF hosts: the option "includepkgs" in our repository file, with a comment that says where it
/// comes from. An administrator's own option, without the comment, stays while there is no limit.
class Included_Packages : public Repository_Limit {
 public:
  /// @param patterns of the packages that are allowed; none is no limit, and ours is removed.
  Included_Packages(std::shared_ptr<velmora::Filesystem> filesystem, std::vector<std::string> patterns,
                    const boost::filesystem::path& staging_directory);

  void prepare_templates() override;
  void render() override {}
  void set_up_if_necessary() override;
  void purge() override {}

 private:
  zant::logging::Source log_;
  std::shared_ptr<velmora::Filesystem> filesystem_;
  std::vector<std::string> patterns_;
  boost::filesystem::path template_;
  boost::filesystem::path staged_file_;
};

}  // namespace zant::velmora_host
