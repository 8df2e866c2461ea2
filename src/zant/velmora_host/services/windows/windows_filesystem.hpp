#pragma once

#include <zant/velmora_host/services/disk_filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// The file service of a Windows host.
///
/// What it writes or copies is whole or not there: a temporary file in the destination's directory is
/// written, brought to the disk and moved over the destination. Texts are stored as they are, without a
/// translation of line ends. Directories that it creates can be changed by administrators and the system
/// alone.
///
/// A file that another process has open without sharing it, or that is marked read-only, cannot be replaced
/// or removed. Ordinary failures are the results that `Filesystem` describes, never exceptions; their reason
/// is logged as a warning under the channel "Windows_Filesystem". That a file is missing is an answer and is
/// not logged.
///
/// Paths are UTF-8 once `set_up_process` has said so to Boost; see there. Safe to call from several threads
/// at once; the last of several writers of one file wins.
class Windows_Filesystem : public Disk_Filesystem {
 public:
  Windows_Filesystem();

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;

 private:
  bool means_missing_(int error_code) const override;
  std::string error_text_(int error_code) const override;
  std::string read_(const Path& path) override;
  void write_(const Path& path, const std::string& contents) override;
  void copy_(const Path& source, const Path& destination) override;
  bool are_equal_(const Path& first, const Path& second) override;
  bool make_directory_(const Path& path) override;
};

}  // namespace zant::velmora_host
