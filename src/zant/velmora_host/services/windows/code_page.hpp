#pragma once

#include <string>

/// What Boost.Nowide, which converts between UTF-8 and UTF-16, does not know: the code pages of the system.
namespace zant::velmora_host::code_page {

/// Whether the text is UTF-8 throughout.
bool is_utf8(const std::string& text);

/// What a program printed, as UTF-8: console programs write in the console's code page, unless they write
/// UTF-8.
std::string utf8_of_console(const std::string& text);

/// Whether programs that know only the code page of this system can be given the text, which is UTF-8.
bool has_all_of(const std::string& text);

}  // namespace zant::velmora_host::code_page
