#pragma once

#include <string>
#include <string_view>

namespace zant::velmora_host {

/// An untrusted text on one line: control characters are escaped as in C, and texts too long for a message
/// are cut. UTF-8 is kept.
std::string printable(std::string_view text);

/// The same without the cut, and with `line_break` in the place of each line's end.
std::string printable_lines(std::string_view text, std::string_view line_break);

}  // namespace zant::velmora_host
