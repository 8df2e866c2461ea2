#pragma once

// The least that a server brings along to embed the library: a shell and a file system. A real server's
// services do more (time limits, files that are whole or not there).

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include <sys/wait.h>

#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

class Shell : public zant::velmora::System {
 public:
  zant::velmora::Command_Result run_command(const std::string& command, bool) override {
    FILE* pipe = popen(("exec bash -c " + quoted(command)).c_str(), "r");
    if (pipe == nullptr) {
      return {"", 127};
    }
    std::string output;
    char buffer[4096];
    while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe)) {
      output.append(buffer, size);
    }
    const int status = pclose(pipe);
    return {output, WIFEXITED(status) ? WEXITSTATUS(status) : 128};
  }

 private:
  static std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
      result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
  }
};

class Files : public zant::velmora::Filesystem {
 public:
  bool remove(const Path& path) override { return boost::filesystem::remove(path, ignored_); }

  void remove(const std::vector<Path>& paths) override {
    for (const Path& path : paths) {
      remove(path);
    }
  }

  void remove_all(const Path& path) override { boost::filesystem::remove_all(path, ignored_); }

  bool exists(const Path& path) override { return boost::filesystem::exists(path, ignored_); }

  bool is_empty(const Path& path) override {
    return boost::filesystem::is_directory(path) && boost::filesystem::is_empty(path);
  }

  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    std::vector<Path> files;
    if (exists(directory)) {
      for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == extension) {
          files.push_back(entry.path());
        }
      }
    }
    return files;
  }

  bool copy_file(const Path& source, const Path& destination, int) override {
    return exists(source) && write_file(destination, read_file(source, 0), 0);
  }

  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int option) override {
    std::size_t copied = 0;
    for (const Path& source : sources) {
      copied += copy_file(source, directory / source.filename(), option) ? 1 : 0;
    }
    return copied;
  }

  std::string read_file(const Path& path, int flag) override {
    boost::filesystem::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (flag == zant::velmora::Read_Flag::WITHOUT_LINE_END && text.ends_with('\n')) {
      text.pop_back();
    }
    return text;
  }

  bool write_file(const Path& path, const std::string& contents, int) override {
    boost::filesystem::ofstream file(path, std::ios::binary);
    return static_cast<bool>(file << contents << std::flush);
  }

  bool create_directories(const Path& path) override {
    boost::filesystem::create_directories(path, ignored_);
    return boost::filesystem::is_directory(path);
  }

  bool files_equal(const Path& first, const Path& second) override {
    return exists(first) && exists(second) && read_file(first, 0) == read_file(second, 0);
  }

 private:
  boost::system::error_code ignored_;
};
