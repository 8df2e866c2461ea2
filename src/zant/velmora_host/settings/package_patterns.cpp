#include <zant/velmora_host/settings/package_patterns.hpp>

#include <cstddef>
#include <iterator>
#include <sstream>
#include <string_view>

namespace zant::velmora_host::package_patterns {
namespace {

constexpr std::string_view PUNCTUATION = "+._-";

// Whatever the locale is: the names of packages are ASCII.
bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool is_name_character(char c) {
  return is_letter_or_digit(c) || PUNCTUATION.find(c) != std::string_view::npos;
}

// Where the list that opens at a position ends; npos for one that is empty, open or holds anything else.
std::size_t end_of_list(const std::string& pattern, std::size_t opening) {
  std::size_t end = opening + 1;
  while (end < pattern.size() && is_name_character(pattern[end])) {
    ++end;
  }
  return end > opening + 1 && end < pattern.size() && pattern[end] == ']' ? end : std::string::npos;
}

// "a-z" in a list is a range; a hyphen at its begin or end is a character.
bool list_has(std::string_view list, char c) {
  for (std::size_t position = 0; position < list.size(); ++position) {
    const bool is_range = position + 2 < list.size() && list[position + 1] == '-';
    const char last = is_range ? list[position + 2] : list[position];
    if (c >= list[position] && c <= last) {
      return true;
    }
    position += is_range ? 2 : 0;
  }
  return false;
}

// Where the element of the pattern at a position ends, if it stands for this character; npos if it does not.
std::size_t match_one(const std::string& pattern, std::size_t position, char c) {
  if (pattern[position] == '[') {
    const std::size_t end = end_of_list(pattern, position);
    const std::string_view list = std::string_view(pattern).substr(position + 1, end - position - 1);
    return list_has(list, c) ? end + 1 : std::string::npos;
  }
  return pattern[position] == '?' || pattern[position] == c ? position + 1 : std::string::npos;
}

}  // namespace

std::vector<std::string> split(const std::string& list) {
  std::istringstream words(list);
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

bool is_pattern(const std::string& text) {
  if (text.empty() || PUNCTUATION.find(text.front()) != std::string_view::npos) {
    return false;
  }
  for (std::size_t position = 0; position < text.size(); ++position) {
    const char c = text[position];
    if (c == '[') {
      position = end_of_list(text, position);
      if (position == std::string::npos) {
        return false;
      }
    } else if (!is_name_character(c) && c != '*' && c != '?') {
      return false;
    }
  }
  return true;
}

bool allows(const std::string& pattern, const std::string& package) {
  std::size_t at = 0;
  std::size_t after_star = std::string::npos;
  std::size_t star_ends = 0;  // in the package's name, for the last star
  std::size_t position = 0;
  while (position < package.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      after_star = ++at;
      star_ends = position;
      continue;
    }
    const std::size_t next =
        at < pattern.size() ? match_one(pattern, at, package[position]) : std::string::npos;
    if (next != std::string::npos) {
      at = next;
      ++position;
    } else if (after_star != std::string::npos) {
      at = after_star;
      position = ++star_ends;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string::npos;
}

}  // namespace zant::velmora_host::package_patterns
