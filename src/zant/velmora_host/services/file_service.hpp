#pragma once

#include <zant/velmora_host/export.hpp>

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The file service of the operating system that it is built for.
///
/// A file that it writes or copies is whole or not there: a hidden temporary file in the destination's
/// directory is written, brought to the disk and renamed over the destination. Texts are stored unchanged,
/// without a translation of line ends. Links in sources are followed.
///
/// An act that fails has the result that `Filesystem` describes; its reason is logged as a warning under the
/// channel "File_Service". A missing file is an answer and is not logged. A question to which the operating
/// system has no answer, because of a bad disk or for want of memory or descriptors, throws
/// std::system_error: any answer would be a guess. Two files that cannot be compared count as different.
///
/// Safe to call from several threads at once; the last of several writers of one file wins.
///
/// On a POSIX host:
/// - Files and the entries of their directories survive a crash of the machine from the moment the call
///   returns.
/// - Files get mode 0644 and directories 0755, whatever the source or the process's mask say, because the
///   package managers' unprivileged helpers read them.
/// - Private directories get mode 0700, and a file that is copied into one or out of one keeps its mode, its
///   owner and its group: what an administrator narrowed is as narrow beside its place and back in it. Where
///   the process may not give files away, such a copy is for the process's user alone.
/// - A destination that is a symbolic link is replaced itself, not what it points to.
///
/// On Windows:
/// - Directories that it creates can be changed by administrators and the system alone.
/// - A file that another process has open without sharing it, or that is marked read-only, cannot be replaced
///   or removed.
/// - Paths that are made from texts are in the encoding that the process has set for boost::filesystem, the
///   code page of the system unless it has set UTF-8 (`boost::nowide::nowide_filesystem`).
class PACKAGE_MINDER_HOST_EXPORT File_Service : public Host_Filesystem {
 public:
  /// The extension of the temporary files; their names begin with a point. A process that is killed while it
  /// writes leaves one; it is harmless, because package managers ignore hidden files, and can be removed
  /// while nobody writes in its directory.
  static const char* const TEMPORARY_EXTENSION;

  File_Service();

  /// @param private_directories where copies of an administrator's files are kept. The ones that the families
  ///        use are in `Family::private_directories`; `make_host_services` knows them.
  explicit File_Service(const std::vector<Path>& private_directories);

  ~File_Service() override;
  File_Service(const File_Service&) = delete;
  File_Service& operator=(const File_Service&) = delete;

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;

  /// Sorted; links to files count as files.
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;

  /// With any option but Copy_Option::OVERWRITE_EXISTING an existing destination stays, and the copy fails.
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;

  /// A private directory that is there already, and that others may enter, becomes private.
  bool create_directories(const Path& path) override;

  bool files_equal(const Path& first, const Path& second) override;
  File_Type type_of(const Path& path) override;
  std::vector<Path> list_entries(const Path& directory) override;

  /// Made of size and times, also of those of a link's target.
  std::string stamp_of(const Path& path) override;
  bool move(const Path& from, const Path& to) override;

  /// Judged by mode and owner. On Windows access is a matter of the directory, and always true.
  bool has_common_access(const Path& path) override;

 private:
  class Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace zant::velmora_host
