#include <zant/velmora_host/base/printable.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace zant::velmora_host {
namespace {

constexpr std::size_t LONGEST_QUOTED_TEXT = 200;

// A character of a UTF-8 text, or a byte that belongs to none.
struct Piece {
  std::string_view bytes;
  char32_t code = 0;
  bool is_valid = false;
};

bool is_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

// How many bytes a character has that begins with this one; 0 when none does.
std::size_t size_of_character(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xc2 || first > 0xf4) {
    return 0;
  }
  return first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
}

bool is_code_of_size(char32_t code, std::size_t size) {
  constexpr std::array<char32_t, 5> SMALLEST = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xd800 && code <= 0xdfff;
  return code >= SMALLEST[size] && code <= 0x10ffff && !is_surrogate;
}

// The first piece of a text that is not empty.
Piece first_piece(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t size = size_of_character(first);
  if (size == 0 || size > text.size() ||
      !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size), is_continuation)) {
    return {text.substr(0, 1)};
  }
  char32_t code = size == 1 ? first : first & (0x7fU >> size);
  for (const char byte : text.substr(1, size - 1)) {
    code = (code << 6U) | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  return is_code_of_size(code, size) ? Piece{text.substr(0, size), code, true} : Piece{text.substr(0, 1)};
}

template <typename Visit>
void for_each_piece(std::string_view text, Visit visit) {
  while (!text.empty()) {
    const Piece piece = first_piece(text);
    visit(piece);
    text.remove_prefix(piece.bytes.size());
  }
}

bool is_control(char32_t code) {
  return code < 0x20 || (code >= 0x7f && code <= 0x9f);
}

bool is_mark_of_direction(char32_t code) {
  return code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
         (code >= 0x2066 && code <= 0x2069);
}

bool is_other_line_end(char32_t code) {
  return code == 0x2028 || code == 0x2029;
}

bool is_harmful(const Piece& piece) {
  return !piece.is_valid || is_control(piece.code) || is_mark_of_direction(piece.code) ||
         is_other_line_end(piece.code);
}

std::string escaped(const Piece& piece) {
  if (piece.is_valid && piece.code >= 0x80) {
    return fmt::format("\\u{:04x}", static_cast<std::uint32_t>(piece.code));
  }
  switch (piece.bytes.front()) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return fmt::format("\\x{:02x}", static_cast<unsigned char>(piece.bytes.front()));
  }
}

}  // namespace

std::string printable(std::string_view text) {
  const bool is_cut = text.size() > LONGEST_QUOTED_TEXT;
  std::string result = printable_lines(whole_beginning(text, LONGEST_QUOTED_TEXT), "\\n");
  return is_cut ? result + "[...]" : result;
}

std::string printable_lines(std::string_view text, std::string_view line_break) {
  std::string result;
  for_each_piece(text, [&](const Piece& piece) {
    if (piece.bytes == "\n") {
      result += line_break;
    } else if (is_harmful(piece)) {
      result += escaped(piece);
    } else {
      result += piece.bytes;
    }
  });
  return result;
}

std::string printable_report(std::string_view text) {
  std::string result;
  for_each_piece(text, [&](const Piece& piece) {
    const bool is_layout = piece.bytes == "\n" || piece.bytes == "\t";
    result += is_layout || !is_harmful(piece) ? std::string(piece.bytes) : escaped(piece);
  });
  return result;
}

std::string printable_json(std::string_view json) {
  std::string result;
  for_each_piece(json, [&](const Piece& piece) {
    // Line ends stand between its parts, and never in a text.
    const bool stays = piece.bytes == "\n" || !is_harmful(piece);
    result +=
        stays ? std::string(piece.bytes) : fmt::format("\\u{:04x}", static_cast<std::uint32_t>(piece.code));
  });
  return result;
}

std::string_view whole_beginning(std::string_view text, std::size_t size) {
  if (text.size() <= size) {
    return text;
  }
  // A character has at most three bytes after its first one; more of them are no character.
  std::size_t end = size;
  while (end > 0 && size - end < 3 && is_continuation(text[end])) {
    --end;
  }
  const bool is_character = first_piece(text.substr(end)).is_valid;
  return text.substr(0, is_character ? end : size);
}

std::string shortened(std::string_view text, std::size_t size) {
  return text.size() <= size ? std::string(text) : std::string(whole_beginning(text, size)) + "[...]";
}

std::string_view whole_end(std::string_view text) {
  std::size_t begin = 0;
  while (begin < text.size() && begin < 3 && is_continuation(text[begin])) {
    ++begin;
  }
  return text.substr(begin);
}

bool is_plain_text(std::string_view text) {
  bool is_plain = true;
  for_each_piece(
      text, [&](const Piece& piece) { is_plain = is_plain && piece.is_valid && !is_control(piece.code); });
  return is_plain;
}

}  // namespace zant::velmora_host
