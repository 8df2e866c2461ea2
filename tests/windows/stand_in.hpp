#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

/// What the stand-ins for the programs of a Windows host have in common. Each keeps its state in text files
/// beside itself, one entry a line, which tests read and write:
///
/// calls.txt     what it was called with, each argument in brackets
/// failures.txt  beginnings of calls that are to fail, as in calls.txt; arranged by tests
namespace stand_in {

using Lines = std::vector<std::string>;

/// A text file with one entry a line; a missing one has none.
class State_File {
 public:
  explicit State_File(std::filesystem::path path) : path_(std::move(path)) {}

  Lines read() const {
    Lines lines;
    std::ifstream file(path_, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  void write(const Lines& lines) const {
    std::ofstream file(path_, std::ios::binary | std::ios::trunc);
    for (const auto& line : lines) {
      file << line << '\n';
    }
  }

  void append(const std::string& line) const {
    std::ofstream(path_, std::ios::binary | std::ios::app) << line << '\n';
  }

 private:
  std::filesystem::path path_;
};

/// Where the program lies; the first argument may be its bare name.
inline std::filesystem::path own_directory() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  return std::filesystem::path(path).parent_path();
}

inline std::string in_brackets(const Lines& arguments) {
  std::string text;
  for (const auto& argument : arguments) {
    text += "[" + argument + "]";
  }
  return text;
}

/// Notes the call; true when it is one that is to fail.
inline bool note_call(const std::filesystem::path& directory, const Lines& arguments) {
  const std::string call = in_brackets(arguments);
  State_File(directory / "calls.txt").append(call);
  for (const auto& failure : State_File(directory / "failures.txt").read()) {
    if (call.starts_with(failure)) {
      return true;
    }
  }
  return false;
}

}  // namespace stand_in
