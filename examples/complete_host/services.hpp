#pragma once
// The least that a server brings along: a shell and a file system. docs/embedding.md says what real ones do
// better.

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include <cstdio>
#include <iterator>

namespace fs = boost::filesystem;

class Shell : public zant::velmora::System {
 public:
  zant::velmora::Command_Result run_command(const std::string& command, bool) override {
    const std::string quoted = "'" + boost::algorithm::replace_all_copy(command, "'", R"('\'')") + "'";
    std::FILE* const pipe = popen(("exec bash -c " + quoted + " < /dev/null").c_str(), "re");
    std::string output;
    for (int byte = 0; pipe != nullptr && (byte = std::getc(pipe)) != EOF;) {
      output += static_cast<char>(byte);
    }
    return {output, pipe == nullptr ? 127 : pclose(pipe)};  // Only whether it is 0 matters.
  }
};

class Files : public zant::velmora::Filesystem {
 public:
  bool remove(const Path& path) override { return fs::remove(path, ignored_); }
  void remove(const std::vector<Path>& paths) override {
    std::for_each(paths.begin(), paths.end(), [this](const Path& path) { remove(path); });
  }
  void remove_all(const Path& path) override { fs::remove_all(path, ignored_); }
  bool exists(const Path& path) override { return fs::exists(path, ignored_); }
  bool is_empty(const Path& path) override { return fs::is_directory(path) && fs::is_empty(path); }
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    std::vector<Path> files;
    std::copy_if(fs::directory_iterator(directory, ignored_), {}, std::back_inserter(files),
                 [&](const Path& path) { return path.extension() == extension; });
    return files;
  }
  bool copy_file(const Path& source, const Path& destination, int) override {
    return exists(source) && write_file(destination, read_file(source, 0), 0);
  }
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int option) override {
    return std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
      return copy_file(source, directory / source.filename(), option);
    });
  }
  std::string read_file(const Path& path, int flag) override {
    fs::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    const bool cut = flag == zant::velmora::Read_Flag::WITHOUT_LINE_END && text.ends_with('\n');
    return cut ? text.substr(0, text.size() - 1) : text;
  }
  bool write_file(const Path& path, const std::string& contents, int) override {
    fs::ofstream file(path, std::ios::binary);
    return static_cast<bool>(file << contents << std::flush);
  }
  bool create_directories(const Path& path) override {
    return fs::create_directories(path, ignored_) || fs::is_directory(path, ignored_);
  }
  bool files_equal(const Path& first, const Path& second) override {
    return exists(first) && exists(second) && read_file(first, 0) == read_file(second, 0);
  }

 private:
  boost::system::error_code ignored_;
};
