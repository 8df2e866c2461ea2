#pragma once

#include <fcntl.h>
#include <poll.h>
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

  /// One line with its end, or what there is of it after ten seconds: the kernel passes on what is written
  /// when it gets to it, and not always in one piece.
  std::string read_line() const {
    constexpr int LONGEST_WAIT = 10'000;  // milliseconds
    std::string text;
    for (pollfd reading = {reading_end_, POLLIN, 0};
         !text.ends_with('\n') && ::poll(&reading, 1, LONGEST_WAIT) == 1;) {
      std::array<char, 4096> buffer{};
      const ssize_t size = ::read(reading_end_, buffer.data(), buffer.size());
      text.append(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    return text;
  }

 private:
  int reading_end_;
  int terminal_ = -1;
};

}  // namespace zant::velmora_host::test_support
