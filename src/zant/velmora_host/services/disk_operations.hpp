#pragma once

#include <boost/filesystem/path.hpp>

#include <string>

/// What the file service does differently on each operating system.
///
/// Operations throw std::system_error with an error code of the operating system.
namespace zant::velmora_host::disk {

using Path = boost::filesystem::path;

/// Who may use a copy.
enum class Access {
  FOR_EVERYBODY,  ///< everybody may read it, only the process's user may change it
  AS_THE_SOURCE   ///< it has the mode, owner and group of the file that it is a copy of
};

std::string read(const Path& path);
void write(const Path& path, const std::string& contents);
void copy(const Path& source, const Path& destination, Access access);
bool are_equal(const Path& first, const Path& second);

/// Gives a file or directory another name. What stood there is replaced, unless it is a directory with
/// entries.
void move(const Path& from, const Path& to);

/// Deletes a file, but never a directory. A link is deleted itself.
void remove_file(const Path& path);

/// Deletes a file or an empty directory. A link is deleted itself.
void remove(const Path& path);

/// Deletes a file or a directory with everything in it; nothing to delete is no failure.
void remove_all(const Path& path);

/// Creates a directory whose parent is there. One that is there already is no failure.
void create_directory(const Path& path);

/// The same, for a directory that nobody but its owner may enter; one that is there already becomes so.
void create_private_directory(const Path& path);

/// Whether a file is what `copy` makes `FOR_EVERYBODY`; also true where there is no file.
bool has_common_access(const Path& path);

/// A text that is another one when the file or directory has been changed.
std::string stamp_of(const Path& path);

/// Whether an error code of the operating system says that nothing is there.
bool means_missing(int error_code);

/// Whether an error code of the operating system says that something else than a file is there.
bool means_no_file(int error_code);

/// The reason that an error code of the operating system stands for.
std::string error_text(int error_code);

}  // namespace zant::velmora_host::disk
