#pragma once

#include <unistd.h>

#include <utility>

namespace zant::velmora_host {

/// Owns one descriptor and closes it.
class File_Descriptor {
 public:
  File_Descriptor() = default;
  explicit File_Descriptor(int number) noexcept : number_(number) {}
  File_Descriptor(File_Descriptor&& other) noexcept : number_(std::exchange(other.number_, NONE)) {}
  File_Descriptor& operator=(File_Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~File_Descriptor() { close(); }

  /// The number, or -1 when nothing is open; what poll(2) skips.
  int get() const noexcept { return number_; }
  bool is_open() const noexcept { return number_ != NONE; }

  /// Hands the descriptor over to the caller.
  int release() noexcept { return std::exchange(number_, NONE); }

  void close() noexcept {
    if (is_open()) {
      ::close(std::exchange(number_, NONE));
    }
  }

 private:
  static constexpr int NONE = -1;

  int number_ = NONE;
};

}  // namespace zant::velmora_host
