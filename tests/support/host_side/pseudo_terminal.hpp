#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <string>

namespace zant::velmora_host::test_support {

/// A terminal to write to, and what has been written to it.
class Pseudo_Terminal {
 public:
  Pseudo_Terminal() : reading_end_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
    if (::grantpt(reading_end_) == 0 && ::unlockpt(reading_end_) == 0) {
      terminal_ = ::open(::ptsname(reading_end_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
  }
  ~Pseudo_Terminal() {
    ::close(terminal_);
    ::close(reading_end_);
  }
  Pseudo_Terminal(const Pseudo_Terminal&) = delete;
  Pseudo_Terminal& operator=(const Pseudo_Terminal&) = delete;

  int terminal() const { return terminal_; }

  std::string read() const {
    std::array<char, 4096> buffer{};
    const ssize_t size = ::read(reading_end_, buffer.data(), buffer.size());
    return {buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  int reading_end_;
  int terminal_ = -1;
};

}  // namespace zant::velmora_host::test_support
