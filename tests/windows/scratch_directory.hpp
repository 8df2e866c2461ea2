#pragma once

#include <gtest/gtest.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <windows.h>

#include <fstream>
#include <iterator>
#include <string>

namespace zant::velmora_host::test_support {

/// A directory for one test, with blanks and parentheses in its name, deleted at the end.
class Scratch_Directory {
 public:
  Scratch_Directory() { boost::filesystem::create_directories(path_); }
  ~Scratch_Directory() {
    boost::system::error_code ignored;
    boost::filesystem::remove_all(path_, ignored);
  }
  Scratch_Directory(const Scratch_Directory&) = delete;
  Scratch_Directory& operator=(const Scratch_Directory&) = delete;

  const boost::filesystem::path& path() const { return path_; }
  boost::filesystem::path operator/(const boost::filesystem::path& name) const { return path_ / name; }

 private:
  boost::filesystem::path path_ =
      boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("minder test (x86) %%%%%%%%");
};

/// A program that was built with the tests, and lies beside them.
inline boost::filesystem::path built_program(const std::string& name) {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  return boost::filesystem::path(path).parent_path() / name;
}

inline std::string contents(const boost::filesystem::path& file) {
  std::ifstream stream(file.c_str(), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void write(const boost::filesystem::path& file, const std::string& text) {
  std::ofstream(file.c_str(), std::ios::binary) << text;
}

}  // namespace zant::velmora_host::test_support
