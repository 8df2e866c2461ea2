#include <zant/velmora_host/families/staged_template.hpp>

#include <cctype>
#include <cstddef>
#include <string_view>

namespace zant::velmora_host {
namespace {

constexpr std::size_t LONGEST_WIDTH = 3;  // in digits

bool is_digit(char character) {
  return std::isdigit(static_cast<unsigned char>(character)) != 0;
}

// Where the placeholder ends that opens before a position. A brace may fill it up: "{:}>9}".
std::size_t end_of_placeholder(std::string_view text, std::size_t position) {
  while (position < text.size() && text[position] != '}') {
    const bool is_filled_up = text[position] == ':' && position + 2 < text.size() &&
                              std::string_view("<>^").find(text[position + 2]) != std::string_view::npos;
    position += is_filled_up ? 3 : 1;
  }
  return position;
}

bool is_narrow(std::string_view placeholder) {
  std::size_t digits = 0;
  for (const char character : placeholder) {
    digits = is_digit(character) ? digits + 1 : 0;
    // A placeholder in a placeholder is a width that only the value knows.
    if (digits > LONGEST_WIDTH || character == '{') {
      return false;
    }
  }
  return true;
}

}  // namespace

void require_narrow_placeholders(const std::string& text) {
  std::size_t position = 0;
  while ((position = text.find('{', position)) != std::string::npos) {
    ++position;
    if (position < text.size() && text[position] == '{') {
      ++position;
      continue;
    }
    const std::size_t end = end_of_placeholder(text, position);
    if (!is_narrow(std::string_view(text).substr(position, end - position))) {
      throw fmt::format_error("a placeholder is too wide");
    }
    position = end;
  }
}

}  // namespace zant::velmora_host
