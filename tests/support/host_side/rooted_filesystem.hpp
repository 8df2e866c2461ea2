#pragma once

#include <zant/velmora_host/services/file_service.hpp>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host::test_support {

/// A file service for which the root directory of the host is another directory, so that a test sees nothing
/// of the machine that it runs on. Only the system's directory for temporary files, where tests and reports
/// keep their own, is the real one.
class Rooted_Filesystem : public Host_Filesystem {
 public:
  explicit Rooted_Filesystem(Path root) : root_(std::move(root)) {}

  bool remove(const Path& path) override { return files_.remove(real_(path)); }
  void remove(const std::vector<Path>& paths) override { files_.remove(real_(paths)); }
  void remove_all(const Path& path) override { files_.remove_all(real_(path)); }
  bool exists(const Path& path) override { return files_.exists(real_(path)); }
  bool is_empty(const Path& path) override { return files_.is_empty(real_(path)); }
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    return in_(directory, files_.list_files(real_(directory), extension));
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
  File_Type type_of(const Path& path) override { return files_.type_of(real_(path)); }
  std::vector<Path> list_entries(const Path& directory) override {
    return in_(directory, files_.list_entries(real_(directory)));
  }
  bool move(const Path& from, const Path& to) override { return files_.move(real_(from), real_(to)); }
  bool has_common_access(const Path& path) override { return files_.has_common_access(real_(path)); }

 private:
  Path real_(const Path& path) const {
    const std::string temporary = boost::filesystem::temp_directory_path().string() + "/";
    return (path.string() + "/").starts_with(temporary) ? path : root_ / path;
  }

  // As the caller named the directory, so that the entries are found again.
  static std::vector<Path> in_(const Path& directory, std::vector<Path> entries) {
    for (auto& entry : entries) {
      entry = directory / entry.filename();
    }
    return entries;
  }

  std::vector<Path> real_(std::vector<Path> paths) const {
    for (auto& path : paths) {
      path = real_(path);
    }
    return paths;
  }

  Path root_;
  File_Service files_;
};

}  // namespace zant::velmora_host::test_support
