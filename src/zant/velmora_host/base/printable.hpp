#pragma once

#include <zant/velmora_host/export.hpp>

#include <cstddef>
#include <string>
#include <string_view>

/// What is shown of others' texts: versions, names of files, the output of commands. All of it goes through
/// here before it is printed.
///
/// Escaped are what a terminal would obey (control characters, those of U+0080 to U+009F included), what
/// would show a text in another order than it has (marks of direction), other ends of lines, and bytes that
/// are not UTF-8: as \\n, \\xNN for a byte, \\uNNNN for a character.
namespace zant::velmora_host {

/// A text on one line. One that is too long for a message is cut, never inside a character.
PACKAGE_MINDER_HOST_EXPORT std::string printable(std::string_view text);

/// The same without the cut, and with `line_break` in the place of each line's end.
PACKAGE_MINDER_HOST_EXPORT std::string printable_lines(std::string_view text, std::string_view line_break);

/// A whole report, whose line ends and tabs stay.
PACKAGE_MINDER_HOST_EXPORT std::string printable_report(std::string_view text);

/// The same for a JSON text: what is escaped is escaped as JSON does it, and means the same to its reader.
///
/// @param json valid, and thus UTF-8.
std::string printable_json(std::string_view json);

/// The longest beginning of the text that has at most `size` bytes and ends with a whole character.
std::string_view whole_beginning(std::string_view text, std::size_t size);

/// The text, or its `whole_beginning` of that size with a mark that there was more.
std::string shortened(std::string_view text, std::size_t size);

/// The text without the rest of a character at its beginning, where it was cut off another text.
std::string_view whole_end(std::string_view text);

/// Whether a text is UTF-8 and has no control character, tabs and line ends included.
bool is_plain_text(std::string_view text);

}  // namespace zant::velmora_host
