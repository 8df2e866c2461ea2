#pragma once

#include <zant/velmora_host/services/windows/handle.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <string_view>

namespace zant::velmora_host {

/// A file that is written beside its destination and takes its place when it is whole. Unless `commit` is
/// reached, nothing of it stays. All operations throw std::system_error.
class Win32_Replacement_File {
 public:
  /// What the names of unfinished files end in. They begin with a point.
  static constexpr const char* EXTENSION = ".package-minder";

  explicit Win32_Replacement_File(const boost::filesystem::path& destination);
  ~Win32_Replacement_File();
  Win32_Replacement_File(const Win32_Replacement_File&) = delete;
  Win32_Replacement_File& operator=(const Win32_Replacement_File&) = delete;

  void write(std::string_view data);

  /// Brings the contents to the disk and puts the file in the destination's place.
  void commit();

 private:
  boost::filesystem::path destination_;
  boost::filesystem::path temporary_path_;
  Handle file_;
};

}  // namespace zant::velmora_host
