#pragma once

#include <zant/velmora_host/export.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// What stands at a path.
enum class File_Type {
  NONE,       ///< nothing, or a link that leads nowhere
  FILE,       ///< a regular file
  DIRECTORY,  ///< a directory
  OTHER       ///< a device, a pipe, a socket
};

/// The file service of the host side: the library's, with what reports and planning need to know beside it.
/// The host side sees the host's files through this interface only, so that a dry run or a test sees one
/// consistent world.
///
/// The rules of `velmora::Filesystem` for owner, threads and failures hold here too.
class PACKAGE_MINDER_HOST_EXPORT Host_Filesystem : public velmora::Filesystem {
 public:
  /// What stands at the path; links are followed. A path that cannot be examined counts as NONE.
  virtual File_Type type_of(const Path& path) = 0;

  /// The full paths of all entries of a directory, hidden ones and subdirectories included, sorted. Empty
  /// when the directory is missing or is no directory.
  virtual std::vector<Path> list_entries(const Path& directory) = 0;

  /// A text that is another one when a file has another content, or a directory other entries; to compare
  /// with an earlier one of the same path and process. Unless overridden, it is made of what the other
  /// operations return; a file service that knows sizes and times need not read the file.
  virtual std::string stamp_of(const Path& path);

  /// Gives a file or directory another name on the same file system, at once: whatever stops the process or
  /// the machine, it has one of the two names. A file at the new name is replaced, an empty directory too.
  /// True on success; after a failure all is as it was.
  virtual bool move(const Path& from, const Path& to) = 0;

  /// Whether everybody may read a file and only this process's user may change it, as it is with what this
  /// service writes; also true where there is no file. Unless overridden, it is so with every file.
  virtual bool has_common_access(const Path& path);
};

}  // namespace zant::velmora_host
