#pragma once

#include <zant/velmora_host/minding/unfinished_work.hpp>
#include <zant/velmora_host/services/forwarding_filesystem.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The file service of cycles and purges. The library goes on after some failures, and is killed like any
/// program; this service sees to it that neither loses a file of the host's or leaves half of a change for
/// good:
///
/// - What cannot be undone later, or would be taken for done, throws: a file or an empty directory that stays
///   although it was to be removed, a text that could not be written, a copy for or from a directory of
///   backups that failed.
/// - A directory of backups is there when all its copies are, and goes at once: under another name it is
///   filled, and emptied. What a kill leaves under the other names is removed by `remove_leftovers`.
/// - What is touched is noted in a journal first. What earlier work touched and did not finish counts as
///   being there, and as different from every other file: the library does it again, with all that follows.
/// - A file whose access is not the common one counts as different too, and gets it with the next copy.
class Acting_Filesystem : public Forwarding_Filesystem {
 public:
  /// @param backups   directories in which the library keeps copies of the host's own files.
  /// @param untouched what lies below is not noted: the state directory itself.
  Acting_Filesystem(std::shared_ptr<Host_Filesystem> real, std::shared_ptr<Unfinished_Work> work,
                    std::vector<Path> backups, Path untouched);

  /// What a kill has left of directories of backups that were not complete, or no longer needed.
  void remove_leftovers();

  /// The names under which a directory of backups is filled and emptied.
  static std::vector<Path> names_aside(const Path& backups);

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;
  bool create_directories(const Path& path) override;
  bool files_equal(const Path& first, const Path& second) override;

 private:
  bool is_backups_(const Path& directory) const;
  bool is_unfinished_(const Path& path) const;
  void note_(const Path& path);
  void remove_whole_(const Path& directory);
  void require_absence_(const Path& path);
  std::size_t fill_backups_(const std::vector<Path>& sources, const Path& directory, int copy_option);

  std::shared_ptr<Unfinished_Work> work_;
  std::vector<Path> backups_;
  Path untouched_;
};

}  // namespace zant::velmora_host
