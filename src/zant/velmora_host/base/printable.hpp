#pragma once

#include <zant/velmora_host/export.hpp>

#include <string>
#include <string_view>

namespace zant::velmora_host {

/// An untrusted text on one line: control characters are escaped as in C, and texts too long for a message
/// are cut. UTF-8 is kept.
PACKAGE_MINDER_HOST_EXPORT std::string printable(std::string_view text);

/// The same without the cut, and with `line_break` in the place of each line's end.
PACKAGE_MINDER_HOST_EXPORT std::string printable_lines(std::string_view text, std::string_view line_break);

}  // namespace zant::velmora_host
