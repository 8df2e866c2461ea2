#include "disk_seams.hpp"

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <mutex>
#include <utility>

// The names that the linker's --wrap gives the real calls and those that are made in their place.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_fchown(int descriptor, uid_t owner, gid_t group);
int __real_fsync(int descriptor);
int __real_rename(const char* from, const char* to);
ssize_t __real_write(int descriptor, const void* data, std::size_t size);
}

namespace zant::velmora::test_support::Disk_Seams {
namespace {

struct State {
  std::mutex mutex;
  std::vector<std::string> calls;
  int write_error = 0;
  int sync_error = 0;
  int rename_error = 0;
  int owner_error = 0;
};

State& state() {
  static State the_state;
  return the_state;
}

// True when the call is to fail: errno is set then.
bool takes_failure(int& error_number) {
  if (error_number == 0) {
    return false;
  }
  errno = std::exchange(error_number, 0);
  return true;
}

bool is_file(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

void reset() {
  const std::lock_guard lock(state().mutex);
  state().calls.clear();
  state().write_error = state().sync_error = state().rename_error = state().owner_error = 0;
}

std::vector<std::string> calls() {
  const std::lock_guard lock(state().mutex);
  return state().calls;
}

void fail_next_write(int error_number) {
  state().write_error = error_number;
}

void fail_next_sync(int error_number) {
  state().sync_error = error_number;
}

void fail_next_change_of_owner(int error_number) {
  state().owner_error = error_number;
}

void fail_next_rename(int error_number) {
  state().rename_error = error_number;
}

}  // namespace zant::velmora::test_support::Disk_Seams

using zant::velmora::test_support::Disk_Seams::is_file;
using zant::velmora::test_support::Disk_Seams::state;
using zant::velmora::test_support::Disk_Seams::takes_failure;

extern "C" int __wrap_fchown(int descriptor, uid_t owner, gid_t group) {
  const std::lock_guard lock(state().mutex);
  return takes_failure(state().owner_error) ? -1 : __real_fchown(descriptor, owner, group);
}

extern "C" int __wrap_fsync(int descriptor) {
  const std::lock_guard lock(state().mutex);
  state().calls.emplace_back(is_file(descriptor) ? "sync file" : "sync directory");
  return takes_failure(state().sync_error) ? -1 : __real_fsync(descriptor);
}

extern "C" int __wrap_rename(const char* from, const char* to) {
  const std::lock_guard lock(state().mutex);
  state().calls.emplace_back("rename");
  return takes_failure(state().rename_error) ? -1 : __real_rename(from, to);
}

extern "C" ssize_t __wrap_write(int descriptor, const void* data, std::size_t size) {
  const std::lock_guard lock(state().mutex);
  return is_file(descriptor) && takes_failure(state().write_error) ? -1
                                                                   : __real_write(descriptor, data, size);
}
// NOLINTEND(bugprone-reserved-identifier)
