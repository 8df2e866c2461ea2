#include <zant/velmora_host/base/printable.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {
namespace {

constexpr std::size_t LONGEST_QUOTED_TEXT = 200;

bool is_control(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x20 || code == 0x7f;
}

void append_escaped(std::string& result, char character) {
  switch (character) {
    case '\n':
      result += "\\n";
      break;
    case '\r':
      result += "\\r";
      break;
    case '\t':
      result += "\\t";
      break;
    default:
      result += fmt::format("\\x{:02x}", static_cast<unsigned char>(character));
  }
}

}  // namespace

std::string printable(std::string_view text) {
  const bool is_cut = text.size() > LONGEST_QUOTED_TEXT;
  std::string result = printable_lines(text.substr(0, LONGEST_QUOTED_TEXT), "\\n");
  return is_cut ? result + "[...]" : result;
}

std::string printable_lines(std::string_view text, std::string_view line_break) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') {
      result += line_break;
    } else if (is_control(character)) {
      append_escaped(result, character);
    } else {
      result += character;
    }
  }
  return result;
}

}  // namespace zant::velmora_host
