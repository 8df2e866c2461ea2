#pragma once

#include <string>
#include <string_view>

/// Texts are UTF-8 in this program and UTF-16 in the operating system's functions.
namespace zant::velmora_host::unicode {

/// @throws std::system_error when the text is not UTF-8.
std::wstring to_wide(std::string_view text);

/// What cannot be converted is replaced.
std::string to_utf8(std::wstring_view text);

/// What a program printed, as UTF-8: console programs write in the console's code page unless they know
/// better.
std::string console_text_to_utf8(const std::string& text);

/// Whether programs that know only the code page of this system can be given the text.
bool is_in_code_page(const std::string& text);

}  // namespace zant::velmora_host::unicode
