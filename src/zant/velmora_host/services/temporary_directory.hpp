#pragma once

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// A new directory that only this process's user can enter, deleted with everything in it at the end.
class Temporary_Directory {
 public:
  /// @throws std::system_error when it cannot be made.
  Temporary_Directory();
  ~Temporary_Directory();
  Temporary_Directory(const Temporary_Directory&) = delete;
  Temporary_Directory& operator=(const Temporary_Directory&) = delete;

  const boost::filesystem::path& path() const noexcept { return path_; }

 private:
  boost::filesystem::path path_;
};

}  // namespace zant::velmora_host
