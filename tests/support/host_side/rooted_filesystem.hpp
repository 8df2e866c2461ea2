#pragma once

#include <zant/velmora_host/services/posix/posix_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host::test_support {

/// A file service for which a host's own directories, "/etc" and "/proc", lie below another one. All other
/// paths are as they are.
class Rooted_Filesystem : public velmora::Filesystem {
 public:
  explicit Rooted_Filesystem(Path root) : root_(std::move(root)) {}

  bool remove(const Path& path) override { return files_.remove(real_(path)); }
  void remove(const std::vector<Path>& paths) override { files_.remove(real_(paths)); }
  void remove_all(const Path& path) override { files_.remove_all(real_(path)); }
  bool exists(const Path& path) override { return files_.exists(real_(path)); }
  bool is_empty(const Path& path) override { return files_.is_empty(real_(path)); }
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    // As the library hands them back, so that they are found again.
    std::vector<Path> found;
    for (const auto& path : files_.list_files(real_(directory), extension)) {
      found.push_back(directory / path.filename());
    }
    return found;
  }
  bool copy_file(const Path& source, const Path& destination, int copy_option) override {
    return files_.copy_file(real_(source), real_(destination), copy_option);
  }
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override {
    return files_.copy_files(real_(sources), real_(directory), copy_option);
  }
  std::string read_file(const Path& path, int read_flag) override {
    return files_.read_file(real_(path), read_flag);
  }
  bool write_file(const Path& path, const std::string& contents, int write_flag) override {
    return files_.write_file(real_(path), contents, write_flag);
  }
  bool create_directories(const Path& path) override { return files_.create_directories(real_(path)); }
  bool files_equal(const Path& first, const Path& second) override {
    return files_.files_equal(real_(first), real_(second));
  }

 private:
  Path real_(const Path& path) const {
    const std::string text = path.string() + "/";
    return text.starts_with("/etc/") || text.starts_with("/proc/") ? root_ / path : path;
  }
  std::vector<Path> real_(std::vector<Path> paths) const {
    for (auto& path : paths) {
      path = real_(path);
    }
    return paths;
  }

  Path root_;
  Posix_Filesystem files_;
};

}  // namespace zant::velmora_host::test_support
