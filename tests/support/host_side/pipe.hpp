#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

namespace zant::velmora_host::test_support {

/// A descriptor to write to, and what has been written to it.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
      ends_ = {-1, -1};
    }
  }
  ~Pipe() {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int writing_end() const { return ends_[1]; }

  std::string read() const {
    std::array<char, 65536> buffer{};
    const ssize_t size = ::read(ends_[0], buffer.data(), buffer.size());
    return {buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  std::array<int, 2> ends_{};
};

}  // namespace zant::velmora_host::test_support
