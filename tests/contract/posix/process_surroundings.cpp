#include "process_surroundings.hpp"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace zant::velmora::test_support {
namespace {

void set_variable(const char* name, const char* value) {
  if (value == nullptr) {
    ::unsetenv(name);
  } else {
    ::setenv(name, value, 1);
  }
}

}  // namespace

Environment_Variable::Environment_Variable(const char* name, const char* value) : name_(name) {
  if (const char* previous = std::getenv(name)) {
    previous_ = previous;
  }
  set_variable(name, value);
}

Environment_Variable::~Environment_Variable() {
  set_variable(name_, previous_ ? previous_->c_str() : nullptr);
}

void deny_process_descriptors() {
  std::array<sock_filter, 4> program = {
      sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{program.size(), program.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0 || ::syscall(SYS_pidfd_open, 1, 0U) != -1 ||
      errno != ENOSYS) {
    std::abort();
  }
}

}  // namespace zant::velmora::test_support
