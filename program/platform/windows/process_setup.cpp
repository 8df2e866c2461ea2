#include <program/platform/process_setup.hpp>

#include <boost/nowide/filesystem.hpp>

#include <windows.h>

namespace zant::program {

void set_up_process() {
  // Paths become texts and texts paths in many places: all of them in UTF-8, whatever the system's code page
  // is.
  boost::nowide::nowide_filesystem();
  // A service has nobody who could close a box with an error message, and neither have the commands it runs.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

}  // namespace zant::program
