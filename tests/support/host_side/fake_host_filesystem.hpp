#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <support/fake_filesystem.hpp>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host::test_support {

/// The fake file service of the library's tests, as one of the host side. The fake records, fails and
/// arranges as its own documentation says; what the host side adds is not recorded.
class Fake_Host_Filesystem : public Host_Filesystem {
 public:
  using Fake = velmora::test_support::Fake_Filesystem;

  explicit Fake_Host_Filesystem(std::shared_ptr<Fake> fake = std::make_shared<Fake>())
      : fake_(std::move(fake)) {}

  Fake& fake() const { return *fake_; }

  /// Takes the common access away from a file.
  void lock_away(const Path& path) { locked_away_.insert(path); }

  bool remove(const Path& path) override { return fake_->remove(path); }
  void remove(const std::vector<Path>& paths) override { fake_->remove(paths); }
  void remove_all(const Path& path) override { fake_->remove_all(path); }
  bool exists(const Path& path) override { return fake_->exists(path); }
  bool is_empty(const Path& path) override { return fake_->is_empty(path); }
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    return fake_->list_files(directory, extension);
  }
  bool copy_file(const Path& source, const Path& destination, int copy_option) override {
    return fake_->copy_file(source, destination, copy_option);
  }
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override {
    return fake_->copy_files(sources, directory, copy_option);
  }
  std::string read_file(const Path& path, int read_flag) override {
    return fake_->read_file(path, read_flag);
  }
  bool write_file(const Path& path, const std::string& contents, int write_flag) override {
    return fake_->write_file(path, contents, write_flag);
  }
  bool create_directories(const Path& path) override { return fake_->create_directories(path); }
  bool files_equal(const Path& first, const Path& second) override {
    return fake_->files_equal(first, second);
  }
  File_Type type_of(const Path& path) override {
    if (fake_->has_directory(path)) {
      return File_Type::DIRECTORY;
    }
    return fake_->has(path) ? File_Type::FILE : File_Type::NONE;
  }
  bool has_common_access(const Path& path) override { return !locked_away_.contains(path); }
  std::vector<Path> list_entries(const Path& directory) override { return fake_->entries(directory); }
  bool move(const Path& from, const Path& to) override { return fake_->move(from, to); }

 private:
  std::shared_ptr<Fake> fake_;
  std::set<Path> locked_away_;
};

}  // namespace zant::velmora_host::test_support
