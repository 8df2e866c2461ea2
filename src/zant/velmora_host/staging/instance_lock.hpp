#pragma once

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// Keeps other processes of this program from working in the same place for as long as it lives. A process
/// that is killed loses it.
class Instance_Lock {
 public:
  /// @param file created where missing.
  /// @throws Refusal that names the process that has the lock, or std::system_error when there can be none.
  explicit Instance_Lock(const boost::filesystem::path& file);
  ~Instance_Lock();
  Instance_Lock(const Instance_Lock&) = delete;
  Instance_Lock& operator=(const Instance_Lock&) = delete;

  /// Deletes the file; the lock is held on, for what it is worth without it.
  void remove_file();

 private:
  boost::filesystem::path file_;
  int descriptor_;
};

}  // namespace zant::velmora_host
