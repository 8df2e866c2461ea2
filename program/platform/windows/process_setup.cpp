#include <program/platform/process_setup.hpp>

#include <zant/velmora_host/services/windows/unicode.hpp>

#include <boost/filesystem/path.hpp>

#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <codecvt>
#include <iterator>
#include <locale>
#include <memory>

namespace zant::program {

void set_up_process() {
  // Paths become texts and texts paths in many places: all of them in UTF-8, whatever the system's code page
  // is.
  boost::filesystem::path::imbue(std::locale(std::locale(), new std::codecvt_utf8_utf16<wchar_t>));
  // A service has nobody who could close a box with an error message, and neither have the commands it runs.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

// What main gets is in the system's code page.
Arguments::Arguments(int /*argc*/, const char* const* /*argv*/) {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> arguments(
      ::CommandLineToArgvW(::GetCommandLineW(), &count), &::LocalFree);
  std::transform(arguments.get(), arguments.get() + count, std::back_inserter(texts_),
                 velmora_host::unicode::to_utf8);
  std::transform(texts_.begin(), texts_.end(), std::back_inserter(values_),
                 [](const std::string& text) { return text.c_str(); });
}

}  // namespace zant::program
