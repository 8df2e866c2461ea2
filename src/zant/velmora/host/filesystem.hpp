#pragma once

#include <zant/velmora/export.hpp>

#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace zant::velmora {

/// Named values for the copy option of `Filesystem`; numerically Boost's `copy_options`.
namespace Copy_Option {
inline constexpr int OVERWRITE_EXISTING = 2;  ///< an existing destination is replaced
}  // namespace Copy_Option

/// Named values for the flag of `Filesystem::read_file`.
namespace Read_Flag {
inline constexpr int WHOLE_TEXT = 0;        ///< the text as stored
inline constexpr int WITHOUT_LINE_END = 1;  ///< the text without its trailing line end
}  // namespace Read_Flag

/// Named values for the flag of `Filesystem::write_file`.
namespace Write_Flag {
inline constexpr int REPLACE = 0;  ///< create the file, or replace its whole contents
}  // namespace Write_Flag

/// The file service that the host application supplies: the library's only way to touch files.
///
/// Owned by the host through a shared pointer, of which the library's objects keep copies. Called from
/// whichever thread runs the library's operation, so an implementation is safe to call from several threads.
/// The library reads a false result as the failure signal; an exception that an implementation throws passes
/// through the library to the library's caller.
class PACKAGE_MINDER_EXPORT Filesystem {
 public:
  using Path = boost::filesystem::path;

  virtual ~Filesystem() = default;

  /// Deletes a file or an empty directory. True when it was removed; false when it was missing or stays.
  virtual bool remove(const Path& path) = 0;

  /// Deletes every listed file that exists; a missing file is not an error.
  virtual void remove(const std::vector<Path>& paths) = 0;

  /// Removes a directory together with everything in it; a missing path is not an error.
  virtual void remove_all(const Path& path) = 0;

  /// True when the path exists.
  virtual bool exists(const Path& path) = 0;

  /// True when the directory exists and has no entries.
  virtual bool is_empty(const Path& path) = 0;

  /// The full paths of the directory's files whose extension equals `extension` (with its leading point).
  /// Empty when the directory is missing.
  virtual std::vector<Path> list_files(const Path& directory, const std::string& extension) = 0;

  /// Copies one file; true on success. After a failure the destination should be what it was.
  virtual bool copy_file(const Path& source, const Path& destination, int copy_option) = 0;

  /// Copies each listed file that exists into the directory under its own file name and returns how many
  /// were copied.
  virtual std::size_t copy_files(const std::vector<Path>& sources, const Path& directory,
                                 int copy_option) = 0;

  /// The contents of the file, which may be a link or a pseudo-file of the kernel. A missing file should
  /// read as empty: a repository file that is not there yet is read like one that says nothing.
  virtual std::string read_file(const Path& path, int read_flag) = 0;

  /// Creates the file, or replaces it, with exactly the given text; true on success.
  virtual bool write_file(const Path& path, const std::string& contents, int write_flag) = 0;

  /// Creates the directory and any missing parents; true when the directory is there afterwards.
  virtual bool create_directories(const Path& path) = 0;

  /// True when both files exist and have identical contents.
  virtual bool files_equal(const Path& first, const Path& second) = 0;
};

}  // namespace zant::velmora
