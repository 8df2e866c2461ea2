#pragma once

#include <zant/velmora_host/export.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora_host {

/// A new directory that only this process's user can enter, deleted with everything in it at the end. Those
/// of a process can be made and deleted in several threads. What a killed process could not delete is deleted
/// when the next process makes one, or by `delete_abandoned`.
class Temporary_Directory {
 public:
  /// @throws std::system_error when it cannot be made.
  Temporary_Directory();
  ~Temporary_Directory();
  Temporary_Directory(const Temporary_Directory&) = delete;
  Temporary_Directory& operator=(const Temporary_Directory&) = delete;

  const boost::filesystem::path& path() const noexcept { return path_; }

  /// Deletes those of this process's user that no living process has.
  static void delete_abandoned();

  /// Deletes all that there are, for a process that is about to be ended by a signal. No thread can make or
  /// delete one from then on: it waits for the end of the process.
  PACKAGE_MINDER_HOST_EXPORT static void delete_all_for_ever();

 private:
  void make_();

  boost::filesystem::path path_;
  std::shared_ptr<void> claim_;
};

}  // namespace zant::velmora_host
