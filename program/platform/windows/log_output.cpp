#include <program/platform/log_output.hpp>

#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <io.h>

#include <string>

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
  // Whatever code page the console is set to.
  const std::wstring wide = boost::nowide::widen(text.data(), text.size());
  return ::WriteConsoleW(console, wide.data(), static_cast<DWORD>(wide.size()), nullptr, nullptr) != FALSE;
}

// A console that does not know the sequences for colours would show them as text.
bool is_terminal(HANDLE handle) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle, &mode) != FALSE &&
         ::SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

}  // namespace

Reader reader_of(int descriptor) {
  return is_terminal(handle_of(descriptor)) ? Reader::TERMINAL : Reader::OTHER;
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
