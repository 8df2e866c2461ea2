#include <zant/velmora_host/services/windows/unicode.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <windows.h>

namespace zant::velmora_host::unicode {
namespace {

// Empty for an empty text, and for one that is not in the code page when `flags` ask for that.
std::wstring decode(std::string_view text, UINT code_page, DWORD flags) {
  const int size =
      ::MultiByteToWideChar(code_page, flags, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  ::MultiByteToWideChar(code_page, flags, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

}  // namespace

std::wstring to_wide(std::string_view text) {
  std::wstring wide = decode(text, CP_UTF8, MB_ERR_INVALID_CHARS);
  if (wide.empty() && !text.empty()) {
    throw_win32_error("cannot convert a text that is not UTF-8", ERROR_NO_UNICODE_TRANSLATION);
  }
  return wide;
}

std::string to_utf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

std::string console_text_to_utf8(const std::string& text) {
  const bool is_utf8 = !decode(text, CP_UTF8, MB_ERR_INVALID_CHARS).empty();
  return is_utf8 || text.empty() ? text : to_utf8(decode(text, CP_OEMCP, 0));
}

bool is_in_code_page(const std::string& text) {
  // In UTF-8 everything is, and the question about a replaced character is not allowed.
  if (::GetACP() == CP_UTF8) {
    return true;
  }
  const std::wstring wide = to_wide(text);
  BOOL is_replaced = FALSE;
  ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                        nullptr, &is_replaced);
  return is_replaced == FALSE;
}

}  // namespace zant::velmora_host::unicode
