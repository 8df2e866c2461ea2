#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/algorithm/string/trim.hpp>
#include <boost/nowide/convert.hpp>

#include <array>
#include <system_error>

namespace zant::velmora_host {
namespace {

// The standard library's own category answers in the system's code page.
class Win32_Category : public std::error_category {
 public:
  const char* name() const noexcept override { return "windows"; }
  std::string message(int code) const override { return win32_error_text(static_cast<DWORD>(code)); }
  std::error_condition default_error_condition(int code) const noexcept override {
    return std::system_category().default_error_condition(code);
  }
};

}  // namespace

std::string win32_error_text(DWORD code) {
  std::array<wchar_t, 1024> text{};
  const DWORD size = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      code, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  const std::string message = boost::nowide::narrow(text.data(), size);
  return boost::algorithm::trim_copy(message) + " (error " + std::to_string(code) + ")";
}

void throw_win32_error(const std::string& what, DWORD code) {
  static const Win32_Category category;
  throw std::system_error(static_cast<int>(code), category, what);
}

}  // namespace zant::velmora_host
