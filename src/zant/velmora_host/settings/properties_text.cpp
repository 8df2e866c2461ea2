#include <zant/velmora_host/settings/properties_text.hpp>

#include <Poco/Ascii.h>
#include <Poco/String.h>

#include <optional>

namespace zant::velmora_host {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

bool ends_line(char character) {
  return character == '\n' || character == '\r';
}

// A cursor that counts lines. CR LF is one line end.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {
    if (text_.starts_with(BYTE_ORDER_MARK)) {
      position_ = BYTE_ORDER_MARK.size();
    }
  }

  bool is_at_end() const { return position_ == text_.size(); }
  char peek() const { return text_[position_]; }
  std::size_t line() const { return line_; }

  char take() {
    const char character = text_[position_++];
    const bool is_first_of_two = character == '\r' && !is_at_end() && peek() == '\n';
    if (ends_line(character) && !is_first_of_two) {
      ++line_;
    }
    return character;
  }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t line_ = 1;
};

void skip_blanks(Reader& reader) {
  while (!reader.is_at_end() && Poco::Ascii::isSpace(static_cast<unsigned char>(reader.peek()))) {
    reader.take();
  }
}

void skip_line(Reader& reader) {
  while (!reader.is_at_end() && !ends_line(reader.take())) {
  }
}

// What a backslash and the next character stand for; nothing for the end of a line that goes on in the next.
std::optional<char> read_escape(Reader& reader) {
  const char character = reader.take();
  switch (character) {
    case 't':
      return '\t';
    case 'r':
      return '\r';
    case 'n':
      return '\n';
    case 'f':
      return '\f';
    case '\r':
      if (!reader.is_at_end() && reader.peek() == '\n') {
        reader.take();
      }
      return std::nullopt;
    case '\n':
      return std::nullopt;
    default:
      return character;
  }
}

std::string read_value(Reader& reader) {
  std::string value;
  while (!reader.is_at_end()) {
    const char character = reader.take();
    if (ends_line(character)) {
      break;
    }
    if (character != '\\') {
      value += character;
    } else if (!reader.is_at_end()) {
      if (const auto escaped = read_escape(reader)) {
        value += *escaped;
      }
    }
  }
  return Poco::trim(value);
}

Properties_Line read_line(Reader& reader) {
  Properties_Line line{.number = reader.line()};
  std::string key;
  while (!reader.is_at_end() && !ends_line(reader.peek()) && !line.has_separator) {
    const char character = reader.take();
    line.has_separator = character == '=' || character == ':';
    if (!line.has_separator) {
      key += character;
    }
  }
  line.key = Poco::trim(key);
  if (line.has_separator) {
    line.value = read_value(reader);
  }
  return line;
}

}  // namespace

std::vector<Properties_Line> parse_properties(std::string_view text) {
  std::vector<Properties_Line> lines;
  Reader reader(text);
  while (skip_blanks(reader), !reader.is_at_end()) {
    if (reader.peek() == '#' || reader.peek() == '!') {
      skip_line(reader);
    } else {
      lines.push_back(read_line(reader));
    }
  }
  return lines;
}

}  // namespace zant::velmora_host
