#pragma once

#include <zant/velmora/host/filesystem.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// A file service that leaves everything to another one: the base of those that look at some operations.
class Forwarding_Filesystem : public velmora::Filesystem {
 public:
  explicit Forwarding_Filesystem(std::shared_ptr<velmora::Filesystem> real) : real_(std::move(real)) {}

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

 protected:
  velmora::Filesystem& real() const noexcept { return *real_; }

 private:
  std::shared_ptr<velmora::Filesystem> real_;
};

}  // namespace zant::velmora_host
