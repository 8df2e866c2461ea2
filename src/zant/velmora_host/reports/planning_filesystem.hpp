#pragma once

#include <zant/velmora_host/services/forwarding_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A file that would be created, replaced or removed.
struct File_Change {
  boost::filesystem::path path;
  std::optional<std::string> before;  ///< empty when it is not there yet
  std::optional<std::string> after;   ///< empty when it goes
};

/// A file service whose changes stay in memory, over the real files: who works through it sees what it has
/// done, and the host is left as it is. Only below one directory files are really written. Used by one
/// thread.
///
/// The real files are listed by way of this process's own file system.
class Planning_Filesystem : public Forwarding_Filesystem {
 public:
  /// @param scratch where changes are made for real.
  Planning_Filesystem(std::shared_ptr<velmora::Filesystem> real, const Path& scratch);

  /// What would be different, by path; what ends as it began is left out.
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

 private:
  bool is_scratch_(const Path& path) const;
  bool is_hidden_(const Path& path) const;
  bool is_real_(const Path& path) const;
  bool has_entries_(const Path& directory) const;
  std::optional<std::string> text_of_(const Path& path) const;
  void hide_(const Path& path);

  Path scratch_;
  std::map<Path, std::string> files_;
  std::set<Path> directories_;
  std::set<Path> hidden_;         // real files and whole directories that are taken for gone
  std::set<Path> removed_files_;  // the real files among and below them
};

}  // namespace zant::velmora_host
