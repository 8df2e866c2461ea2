#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/windows/handle.hpp>
#include <zant/velmora_host/services/windows/protected_directory.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <fmt/format.h>

#include <array>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

// Opened to write by one process alone, which makes it a lock; but to read by others, to learn who holds it.
Handle open_as_holder(const path& file) {
  return Handle(::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE | WRITE_DAC, FILE_SHARE_READ,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Does not lock the file, nor keep others from opening, writing and deleting it.
Handle open_as_reader(const path& file) {
  return Handle(::CreateFileW(file.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
}

// A byte far behind the text, which the holder keeps locked. Others can ask for it without opening the file
// in a way that would keep the next holder out.
OVERLAPPED mark() {
  OVERLAPPED place = {};
  place.OffsetHigh = 1;
  return place;
}

bool set_mark(const Handle& file, DWORD flags) {
  OVERLAPPED place = mark();
  return ::LockFileEx(file.get(), flags, 0, 1, 0, &place) != FALSE;
}

void clear_mark(const Handle& file) {
  OVERLAPPED place = mark();
  ::UnlockFileEx(file.get(), 0, 1, 0, &place);
}

std::string read_holder(const Handle& reader) {
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

[[noreturn]] void refuse(const path& file) {
  throw Refusal(Refusal_Reason::BUSY,
                fmt::format("another package-minder (process {}) is already running; wait until it ends, or "
                            "stop it first, the service with \"package-minder service stop\"",
                            read_holder(open_as_reader(file))));
}

}  // namespace

class Instance_Lock::Lock_File {
 public:
  explicit Lock_File(const path& file) : path_(file), handle_(open_as_holder(file)) {
    if (!handle_.is_open()) {
      const DWORD code = ::GetLastError();
      if (code == ERROR_SHARING_VIOLATION) {
        refuse(file);
      }
      throw_win32_error("cannot open " + file.string(), code);
    }
    // Who can open it can keep the next process out, by opening it without sharing it.
    make_private(handle_);
    // Waits for a process that asks at this moment who holds the lock.
    if (!set_mark(handle_, LOCKFILE_EXCLUSIVE_LOCK)) {
      throw_win32_error("cannot lock " + file.string());
    }
    write_holder(handle_);
  }

  void remove() {
    // An open file would keep its directory from being removed. If another process takes the lock in between,
    // its file stays.
    handle_.close();
    ::DeleteFileW(path_.c_str());
  }

 private:
  path path_;
  Handle handle_;
};

Instance_Lock::Instance_Lock(const path& file) : lock_file_(std::make_unique<Lock_File>(file)) {}

Instance_Lock::~Instance_Lock() = default;

std::string Instance_Lock::find_holder(const path& file) {
  const Handle reader = open_as_reader(file);
  if (!reader.is_open()) {
    const DWORD code = ::GetLastError();
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) {
      return "";
    }
    throw_win32_error("cannot open " + file.string(), code);
  }
  if (!set_mark(reader, LOCKFILE_FAIL_IMMEDIATELY)) {
    return read_holder(reader);
  }
  clear_mark(reader);
  return "";
}

void Instance_Lock::remove_file() {
  lock_file_->remove();
}

}  // namespace zant::velmora_host
