#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace zant::velmora_host {

/// What the operating system says about an error number, in a way that is safe in every thread.
inline std::string error_text(int error_number) {
  return std::generic_category().message(error_number);
}

/// Throws std::system_error with the reason of the call that has just failed.
[[noreturn]] inline void throw_system_error(const std::string& what, int error_number = errno) {
  throw std::system_error(error_number, std::generic_category(), what);
}

}  // namespace zant::velmora_host
