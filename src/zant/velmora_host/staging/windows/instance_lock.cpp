#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/windows/handle.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <fmt/format.h>

#include <fcntl.h>
#include <io.h>

#include <array>
#include <string>

namespace zant::velmora_host {
namespace {

// Nobody else may open it to write, which makes it a lock; but to read, to learn who has it.
Handle open_lock_file(const boost::filesystem::path& file) {
  return Handle(::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::string read_holder(const boost::filesystem::path& file) {
  const Handle reader(::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
  std::array<char, 32> text{};
  DWORD size = 0;
  const bool is_read =
      ::ReadFile(reader.get(), text.data(), static_cast<DWORD>(text.size()), &size, nullptr) != FALSE;
  return is_read && size > 0 ? std::string(text.data(), size) : "unknown";
}

void write_holder(const Handle& lock_file) {
  const std::string holder = std::to_string(::GetCurrentProcessId());
  DWORD size = 0;
  ::SetEndOfFile(lock_file.get());
  ::WriteFile(lock_file.get(), holder.data(), static_cast<DWORD>(holder.size()), &size, nullptr);
}

[[noreturn]] void refuse(const boost::filesystem::path& file) {
  throw Refusal(
      Refusal_Reason::BUSY,
      fmt::format("another package-minder (process {}) is already running; wait until it ends, or stop it "
                  "first, the service with \"package-minder service stop\"",
                  read_holder(file)));
}

}  // namespace

Instance_Lock::Instance_Lock(const boost::filesystem::path& file) : file_(file), descriptor_(-1) {
  Handle lock_file = open_lock_file(file);
  if (!lock_file.is_open()) {
    const DWORD code = ::GetLastError();
    if (code == ERROR_SHARING_VIOLATION) {
      refuse(file);
    }
    throw_win32_error("cannot open " + file.string(), code);
  }
  write_holder(lock_file);
  descriptor_ = ::_open_osfhandle(reinterpret_cast<intptr_t>(lock_file.release()), _O_RDWR);
}

Instance_Lock::~Instance_Lock() {
  if (descriptor_ != -1) {
    ::_close(descriptor_);
  }
}

void Instance_Lock::remove_file() {
  // An open file would keep its directory from being removed. Should another process take the lock in
  // between, then its file stays.
  ::_close(descriptor_);
  descriptor_ = -1;
  ::DeleteFileW(file_.c_str());
}

}  // namespace zant::velmora_host
