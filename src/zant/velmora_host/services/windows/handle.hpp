#pragma once

#include <windows.h>

#include <utility>

namespace zant::velmora_host {

/// Owns a handle of the operating system.
class Handle {
 public:
  Handle() = default;

  /// Takes what the functions of the operating system return, either of their two values for "none" included.
  explicit Handle(HANDLE handle) noexcept : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      close();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  ~Handle() { close(); }

  HANDLE get() const noexcept { return handle_; }
  bool is_open() const noexcept { return handle_ != nullptr; }

  /// Hands the handle over to the caller.
  HANDLE release() noexcept { return std::exchange(handle_, nullptr); }

  void close() noexcept {
    if (handle_ != nullptr) {
      ::CloseHandle(std::exchange(handle_, nullptr));
    }
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace zant::velmora_host
