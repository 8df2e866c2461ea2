#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora::standalone_host {

/// The file service of a POSIX host.
///
/// What it writes or copies is whole or not there, across a crash of the process and of the machine: a hidden
/// temporary file in the destination's directory is written, brought to the disk and renamed over the
/// destination, and so is the directory's entry. Files get mode 0644 and directories 0755, whatever the
/// source or the process's mask say, because the package managers' unprivileged helpers read them. A
/// destination that is a symbolic link is replaced itself, not what it points to; sources are followed.
///
/// Ordinary failures are the results that `Filesystem` describes, never exceptions; their reason is logged as
/// a warning under the channel "Posix_Filesystem". That a file is missing is an answer and is not logged.
///
/// Safe to call from several threads at once; the last of several writers of one file wins.
class Posix_Filesystem : public Filesystem {
 public:
  /// The extension of the temporary files. A process that is killed while it writes leaves one; it is
  /// harmless, because package managers ignore hidden files, and can be removed while nobody writes in its
  /// directory.
  static const char* const TEMPORARY_EXTENSION;

  Posix_Filesystem();

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;

  /// Sorted by name; links to files count as files.
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
