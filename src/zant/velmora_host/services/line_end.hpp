#pragma once

#include <string>

namespace zant::velmora_host {

/// The text without one line end, "\n" or "\r\n", at its end: what Read_Flag::WITHOUT_LINE_END asks for.
inline std::string without_line_end(std::string text) {
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  if (text.ends_with('\r')) {
    text.pop_back();
  }
  return text;
}

}  // namespace zant::velmora_host
