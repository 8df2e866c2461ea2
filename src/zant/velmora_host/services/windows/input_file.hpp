#pragma once

#include <zant/velmora_host/services/windows/handle.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host {

/// A file open for reading, which others may read, replace and delete meanwhile. All operations throw
/// std::system_error.
class Input_File {
 public:
  explicit Input_File(const boost::filesystem::path& path);

  const Handle& handle() const noexcept { return file_; }

  /// What remains of it.
  std::string read_all();

 private:
  Handle file_;
};

}  // namespace zant::velmora_host
