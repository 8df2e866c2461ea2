#pragma once

#include <zant/velmora_host/families/repository_limit.hpp>

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <zant/logging/source.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The limit on DNF hosts: the option "includepkgs" in our repository file, with a comment that says where it
/// comes from. An administrator's own option, without the comment, stays while there is no limit. The library
/// compares what our file says; whether everybody, and DNF, can read it is seen to here as well.
class Included_Packages : public Repository_Limit {
 public:
  /// @param patterns of the packages that are allowed; none is no limit, and ours is removed.
  Included_Packages(std::shared_ptr<Host_Filesystem> filesystem, std::vector<std::string> patterns,
                    const boost::filesystem::path& staging_directory);

  void prepare_templates() override;
  void render() override {}
  void set_up_if_necessary() override;
  void purge() override {}

 private:
  void install_(const std::string& reason);

  zant::logging::Source log_;
  std::shared_ptr<Host_Filesystem> filesystem_;
  std::vector<std::string> patterns_;
  boost::filesystem::path template_;
  boost::filesystem::path staged_file_;
};

}  // namespace zant::velmora_host
