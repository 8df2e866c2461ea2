#pragma once

#include <string>
#include <string_view>

namespace zant::velmora_host {

/// A text of foreign origin on one line: control characters are escaped as in C, and what is longer than a
/// message can bear is cut. UTF-8 stays as it is.
std::string printable(std::string_view text);

/// The same without the cut, and with `line_break` in the place of each line's end.
std::string printable_lines(std::string_view text, std::string_view line_break);

}  // namespace zant::velmora_host
