#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// A file service that passes every operation on to another one: the base of those that override some.
class Forwarding_Filesystem : public Host_Filesystem {
 public:
  explicit Forwarding_Filesystem(std::shared_ptr<Host_Filesystem> real) : real_(std::move(real)) {}

  bool remove(const Path& path) override { return real_->remove(path); }
  void remove(const std::vector<Path>& paths) override { real_->remove(paths); }
  void remove_all(const Path& path) override { real_->remove_all(path); }
  bool exists(const Path& path) override { return real_->exists(path); }
  bool is_empty(const Path& path) override { return real_->is_empty(path); }
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    return real_->list_files(directory, extension);
  }
  bool copy_file(const Path& source, const Path& destination, int copy_option) override {
    return real_->copy_file(source, destination, copy_option);
  }
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override {
    return real_->copy_files(sources, directory, copy_option);
  }
  std::string read_file(const Path& path, int read_flag) override {
    return real_->read_file(path, read_flag);
  }
  bool write_file(const Path& path, const std::string& contents, int write_flag) override {
    return real_->write_file(path, contents, write_flag);
  }
  bool create_directories(const Path& path) override { return real_->create_directories(path); }
  bool files_equal(const Path& first, const Path& second) override {
    return real_->files_equal(first, second);
  }
  std::string stamp_of(const Path& path) override { return real_->stamp_of(path); }
  bool move(const Path& from, const Path& to) override { return real_->move(from, to); }
  bool has_common_access(const Path& path) override { return real_->has_common_access(path); }
  File_Type type_of(const Path& path) override { return real_->type_of(path); }
  std::vector<Path> list_entries(const Path& directory) override { return real_->list_entries(directory); }

 protected:
  Host_Filesystem& real() const noexcept { return *real_; }

 private:
  std::shared_ptr<Host_Filesystem> real_;
};

}  // namespace zant::velmora_host
