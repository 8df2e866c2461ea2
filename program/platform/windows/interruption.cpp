#include <program/platform/interruption.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <windows.h>

namespace zant::program {
namespace {

// The system calls it in a thread of its own.
BOOL WINAPI delete_temporary_directories(DWORD /*event*/) {
  velmora_host::Temporary_Directory::delete_all_for_ever();
  // The next handler ends the process.
  return FALSE;
}

}  // namespace

class Clean_Interruption::Watch {
 public:
  Watch() { ::SetConsoleCtrlHandler(delete_temporary_directories, TRUE); }
  ~Watch() { ::SetConsoleCtrlHandler(delete_temporary_directories, FALSE); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
};

Clean_Interruption::Clean_Interruption() : watch_(std::make_unique<Watch>()) {}

Clean_Interruption::~Clean_Interruption() = default;

}  // namespace zant::program
