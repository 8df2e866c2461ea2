#include <zant/velmora_host/services/windows/code_page.hpp>

#include <boost/nowide/convert.hpp>

#include <windows.h>

namespace zant::velmora_host::code_page {
namespace {

std::wstring decode(const std::string& text, UINT code_page) {
  const int length = static_cast<int>(text.size());
  const int size = ::MultiByteToWideChar(code_page, 0, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  ::MultiByteToWideChar(code_page, 0, text.data(), length, wide.data(), size);
  return wide;
}

}  // namespace

bool is_utf8(const std::string& text) {
  // Nowide replaces what is not.
  return boost::nowide::narrow(boost::nowide::widen(text)) == text;
}

std::string utf8_of_console(const std::string& text) {
  return is_utf8(text) ? text : boost::nowide::narrow(decode(text, CP_OEMCP));
}

bool has_all_of(const std::string& text) {
  // In UTF-8 everything is, and the question about a replaced character is not allowed.
  if (::GetACP() == CP_UTF8) {
    return true;
  }
  const std::wstring wide = boost::nowide::widen(text);
  BOOL is_replaced = FALSE;
  ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                        nullptr, &is_replaced);
  return is_replaced == FALSE;
}

}  // namespace zant::velmora_host::code_page
