#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora::standalone_host {

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
class Windows_Filesystem : public Filesystem {
 public:
  Windows_Filesystem();

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;

  /// Sorted by name.
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;

  /// With any option but Copy_Option::OVERWRITE_EXISTING an existing destination stays, and the copy fails.
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;
  bool create_directories(const Path& path) override;
  bool files_equal(const Path& first, const Path& second) override;

 private:
  bool make_directory_(const Path& path);
  void log_failure_(const std::string& what, const Path& path, const std::string& reason);

  zant::logging::Source log_;
};

}  // namespace zant::velmora::standalone_host
