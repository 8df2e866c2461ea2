#pragma once

#include <windows.h>

#include <string>

namespace zant::velmora_host {

/// What the operating system says about one of its error codes, in UTF-8.
std::string win32_error_text(DWORD code);

/// Throws std::system_error with the reason of the call that has just failed.
[[noreturn]] void throw_win32_error(const std::string& what, DWORD code = ::GetLastError());

}  // namespace zant::velmora_host
