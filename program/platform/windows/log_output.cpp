#include <program/platform/log_output.hpp>

#include <zant/velmora_host/services/windows/unicode.hpp>

#include <windows.h>

#include <io.h>

#include <system_error>

namespace zant::program::log_output {
namespace {

HANDLE handle_of(int descriptor) {
  return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

bool write_to_console(HANDLE console, std::string_view text) {
  DWORD mode = 0;
  if (::GetConsoleMode(console, &mode) == FALSE) {
    return false;
  }
  try {
    // Whatever code page the console is set to.
    const std::wstring wide = velmora_host::unicode::to_wide(text);
    return ::WriteConsoleW(console, wide.data(), static_cast<DWORD>(wide.size()), nullptr, nullptr) != FALSE;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

bool is_terminal(int descriptor) {
  DWORD mode = 0;
  const HANDLE handle = handle_of(descriptor);
  // One that does not know the sequences for colours would show them as they are.
  return ::GetConsoleMode(handle, &mode) != FALSE &&
         ::SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

bool is_journal(int /*descriptor*/) {
  return false;
}

void write(int descriptor, std::string_view text) {
  const HANDLE handle = handle_of(descriptor);
  if (write_to_console(handle, text)) {
    return;
  }
  DWORD size = 0;
  while (!text.empty() &&
         ::WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &size, nullptr) != FALSE) {
    text.remove_prefix(size);
  }
}

}  // namespace zant::program::log_output
