#pragma once

#include <zant/velmora_host/observation/cycle_recorder.hpp>
#include <zant/velmora_host/services/forwarding_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <vector>

namespace zant::velmora_host {

/// A file service that tells the recorder which of the host's files the library finds in step, installs and
/// removes. The library installs files by copying them out of the staging directory.
class Observed_Filesystem : public Forwarding_Filesystem {
 public:
  Observed_Filesystem(std::shared_ptr<Host_Filesystem> real, std::shared_ptr<Cycle_Recorder> recorder,
                      const Path& staging_directory);

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  bool files_equal(const Path& first, const Path& second) override;

 private:
  bool is_staged_(const Path& path) const;

  std::shared_ptr<Cycle_Recorder> recorder_;
  Path staging_directory_;
};

}  // namespace zant::velmora_host
