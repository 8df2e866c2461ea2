#include <program/platform/stop_signals.hpp>

#include <Poco/NamedEvent.h>
#include <Poco/Process.h>
#include <windows.h>

#include <atomic>

namespace zant::program {
namespace {

std::atomic<const char*> reason = "a request of the service manager";

const char* name_of(DWORD event) {
  switch (event) {
    case CTRL_C_EVENT:
      return "Ctrl-C";
    case CTRL_BREAK_EVENT:
      return "Ctrl-Break";
    case CTRL_CLOSE_EVENT:
      return "the closing of the console";
    default:
      return "the end of the session";
  }
}

BOOL WINAPI on_console_event(DWORD event) {
  reason = name_of(event);
  Poco::Process::requestTermination(Poco::Process::id());
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
    // Windows ends the process as soon as this returns, and without waiting for long if it does not.
    ::Sleep(INFINITE);
  }
  return TRUE;
}

// Poco's own event of this process, which its service application sets when the service manager says so, and
// which other processes can set by Poco::Process::requestTermination.
Poco::NamedEvent& stop_request() {
  static Poco::NamedEvent event(Poco::ProcessImpl::terminationEventName(Poco::Process::id()));
  return event;
}

}  // namespace

Stop_Signals::Stop_Signals() {
  stop_request();
  ::SetConsoleCtrlHandler(on_console_event, TRUE);
}

const char* Stop_Signals::wait() {
  stop_request().wait();
  return reason;
}

// Only who has to show that it is alive waits like this, and Windows' service manager does not ask for it.
const char* Stop_Signals::wait_for(std::chrono::milliseconds /*time*/) {
  return wait();
}

}  // namespace zant::program
