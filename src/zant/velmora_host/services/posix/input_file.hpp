#pragma once

#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <boost/filesystem/path.hpp>

#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zant::velmora_host {

/// A regular file open for reading from its start to its end. All operations throw std::system_error; for a
/// missing file with the code std::errc::no_such_file_or_directory or std::errc::not_a_directory.
class Input_File {
 public:
  explicit Input_File(const boost::filesystem::path& path);

  /// Of that name in an open directory; a link is not followed.
  Input_File(const File_Descriptor& directory, const std::string& name);

  /// How others could change the open file, as `privileges::who_else_may_write` says it, without a look at
  /// the directories above it.
  std::string who_else_may_write() const;

  /// The size that the file system tells; 0 for the kernel's pseudo-files, whatever they hold.
  std::uintmax_t size() const noexcept { return static_cast<std::uintmax_t>(status_.st_size); }

  /// Its mode and owner when it was opened.
  const struct stat& status() const noexcept { return status_; }

  /// The next piece, valid until the next call; empty at the end.
  std::string_view next_piece();

  /// All that remains.
  std::string read_all();

 private:
  explicit Input_File(File_Descriptor file);

  File_Descriptor file_;
  struct stat status_ {};
  std::array<char, 65536> buffer_;
};

}  // namespace zant::velmora_host
