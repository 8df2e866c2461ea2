#pragma once

#include <zant/velmora_host/reports/file_change.hpp>
#include <zant/velmora_host/services/forwarding_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A file service that keeps its changes in memory, over the files of another one: its callers see what they
/// have changed, and the host stays as it is. Below one directory, the scratch directory, it really writes.
/// Used by one thread.
///
/// An operation succeeds and fails as the same operation would on the host; a disk that is full, or a file
/// system that is read-only, is not foreseen. Two paths that lead to one place by way of a link are two
/// places.
class Planning_Filesystem : public Forwarding_Filesystem {
 public:
  /// @param scratch where changes are made for real.
  Planning_Filesystem(std::shared_ptr<Host_Filesystem> real, const Path& scratch);

  /// What would be different, by path; a file that ends as it began is left out, unless it would get the
  /// common access.
  std::vector<File_Change> changes() const;

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;
  bool create_directories(const Path& path) override;
  bool files_equal(const Path& first, const Path& second) override;
  File_Type type_of(const Path& path) override;
  std::vector<Path> list_entries(const Path& directory) override;
  bool move(const Path& from, const Path& to) override;
  bool has_common_access(const Path& path) override;

 private:
  // What stands at a path instead of what really does. It hides everything real below the path too.
  struct Entry {
    File_Type type;    // NONE: removed
    std::string text;  // of a file
  };

  bool is_scratch_(const Path& path) const;
  bool is_covered_(const Path& path) const;
  bool has_entry_(const Path& path) const;
  File_Type planned_type_(const Path& path) const;
  std::vector<Path> planned_entries_(const Path& directory) const;
  std::optional<std::string> text_of_(const Path& path) const;
  void cover_(const Path& path, File_Type type, const std::string& text = "");
  void remove_entry_(const Path& path);

  Path scratch_;
  std::map<Path, Entry> entries_;
};

}  // namespace zant::velmora_host
