#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zant::velmora_host {

/// What a settings file consists of: a line `KEY = VALUE` or `KEY: VALUE`, or one that is neither.
struct Properties_Line {
  std::size_t number = 0;  ///< in the file, from 1
  bool has_separator = false;
  std::string key = {};    ///< without a separator: all of the line
  std::string value = {};  ///< with its escapes resolved
};

/// The lines of a properties file that are neither blank nor comments, which begin with "#" or "!". Reads
/// them as Poco's PropertyFileConfiguration does: a backslash at the end of a line continues the value,
/// before t, n, r and f it makes the control character that it makes in C, and before any other character it
/// is dropped.
std::vector<Properties_Line> parse_properties(std::string_view text);

}  // namespace zant::velmora_host
