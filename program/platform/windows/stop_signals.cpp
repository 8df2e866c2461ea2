#include <program/platform/stop_signals.hpp>

#include <zant/velmora_host/services/windows/handle.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <Poco/Process.h>
#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <algorithm>
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
const velmora_host::Handle& stop_request() {
  constexpr BOOL RESETS_ITSELF = FALSE;
  constexpr BOOL NOT_SET = FALSE;
  static const velmora_host::Handle event(::CreateEventW(
      nullptr, RESETS_ITSELF, NOT_SET,
      boost::nowide::widen(Poco::ProcessImpl::terminationEventName(Poco::Process::id())).c_str()));
  if (!event.is_open()) {
    velmora_host::throw_win32_error("cannot listen to requests to stop");
  }
  return event;
}

}  // namespace

Stop_Signals::Stop_Signals() {
  stop_request();
  ::SetConsoleCtrlHandler(on_console_event, TRUE);
}

const char* Stop_Signals::wait() {
  ::WaitForSingleObject(stop_request().get(), INFINITE);
  return reason;
}

const char* Stop_Signals::wait_for(std::chrono::milliseconds time) {
  using std::chrono::milliseconds;
  const auto limit = std::clamp(time, milliseconds::zero(), milliseconds(INFINITE - 1));
  const DWORD result = ::WaitForSingleObject(stop_request().get(), static_cast<DWORD>(limit.count()));
  return result == WAIT_OBJECT_0 ? reason.load() : nullptr;
}

}  // namespace zant::program
