#pragma once

#include <zant/velmora_host/services/disk_filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

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
class Posix_Filesystem : public Disk_Filesystem {
 public:
  /// The extension of the temporary files. A process that is killed while it writes leaves one; it is
  /// harmless, because package managers ignore hidden files, and can be removed while nobody writes in its
  /// directory.
  static const char* const TEMPORARY_EXTENSION;

  Posix_Filesystem();

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
