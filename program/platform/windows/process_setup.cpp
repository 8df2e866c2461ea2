#include <program/platform/process_setup.hpp>

#include <boost/nowide/filesystem.hpp>

#include <windows.h>

namespace zant::program {

void set_up_process() {
  // Paths become texts and texts paths in many places: all of them in UTF-8, whatever the system's code page
  // is.
  boost::nowide::nowide_filesystem();
  // An error message in a window would stop a service, or a command that it runs, until a user closes it.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

}  // namespace zant::program
