#include <standalone_host/process_setup.hpp>

#include <boost/filesystem/path.hpp>

#include <windows.h>

#include <codecvt>
#include <locale>

namespace zant::velmora::standalone_host {

void set_up_process() {
  // Paths become texts and texts paths in many places: all of them in UTF-8, whatever the system's code page
  // is.
  boost::filesystem::path::imbue(std::locale(std::locale(), new std::codecvt_utf8_utf16<wchar_t>));
  // A service has nobody who could close a box with an error message, and neither have the commands it runs.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

}  // namespace zant::velmora::standalone_host
