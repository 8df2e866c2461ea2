#pragma once

#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <boost/filesystem/path.hpp>

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace zant::velmora_host {

/// A file that is written beside its destination and takes its place when it is whole. Unless `commit` is
/// reached, nothing of it stays. All operations throw std::system_error.
class Replacement_File {
 public:
  /// What the names of unfinished files end in. They begin with a point.
  static constexpr const char* EXTENSION = ".package-minder";

  /// The mode that a file has unless it is given another one's.
  static constexpr mode_t MODE = 0644;

  explicit Replacement_File(const boost::filesystem::path& destination);
  ~Replacement_File();
  Replacement_File(const Replacement_File&) = delete;
  Replacement_File& operator=(const Replacement_File&) = delete;

  void write(std::string_view data);

  /// Gives the file the mode, owner and group of another one, instead of `MODE` and the process's user.
  /// One that may not be given away is for the process's user alone.
  void give_access_of(const struct stat& other);

  /// Brings the contents to the disk and puts the file in the destination's place.
  void commit();

 private:
  boost::filesystem::path destination_;
  std::string temporary_path_;
  File_Descriptor file_;
  mode_t mode_;
  bool is_in_place_ = false;
};

/// Brings a directory's entries to the disk; throws std::system_error.
void sync_directory(const boost::filesystem::path& directory);

}  // namespace zant::velmora_host
