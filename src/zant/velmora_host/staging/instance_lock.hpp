#pragma once

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace zant::velmora_host {

/// Keeps other processes of this program from working in the same place for as long as it lives. The lock of
/// a process that is killed ends with it. The file is for the administrator's account alone: who can open it
/// can keep others out.
class Instance_Lock {
 public:
  /// @param file created where missing; made inaccessible to others where an earlier version did not.
  /// @throws Refusal that names the process which holds the lock, or std::system_error when the file cannot
  ///         be locked.
  explicit Instance_Lock(const boost::filesystem::path& file);
  ~Instance_Lock();
  Instance_Lock(const Instance_Lock&) = delete;
  Instance_Lock& operator=(const Instance_Lock&) = delete;

  /// The id of the process that holds the lock on the file, or "unknown" when it has not written it there;
  /// empty when no process holds it, or the file is missing. Does not take the lock, not even for a moment,
  /// and changes nothing.
  ///
  /// @throws std::system_error when the file cannot be read.
  static std::string find_holder(const boost::filesystem::path& file);

  /// Deletes the file. The lock is held on, but no longer keeps others out.
  void remove_file();

 private:
  class Lock_File;

  std::unique_ptr<Lock_File> lock_file_;
};

}  // namespace zant::velmora_host
