#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace zant::velmora_host::test_support {

/// From now on the kernel refuses a system call to this process and its children, with this error number. For
/// good: for the child process of a death test.
///
/// @param second_argument only calls with this one are refused.
inline void deny_system_call(std::uint32_t number, std::uint32_t second_argument,
                             std::uint32_t error_number) {
  std::array<sock_filter, 6> program = {
      sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 3),
      sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
      sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, second_argument, 0, 1),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error_number),
      sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{program.size(), program.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
    std::abort();
  }
}

}  // namespace zant::velmora_host::test_support
