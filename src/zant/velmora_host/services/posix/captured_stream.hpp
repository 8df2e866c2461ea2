#pragma once

#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <cstddef>
#include <string>

namespace zant::velmora_host {

/// The reading side of a pipe that a child writes to, and what has been read from it, up to a limit.
class Captured_Stream {
 public:
  /// Which part of a text longer than the limit is kept.
  enum class Keep { START, END };

  /// @throws std::system_error when no pipe can be made.
  Captured_Stream(std::size_t limit, Keep keep);

  /// The child's side; to be closed here once the child has it.
  int writing_end() const noexcept { return writing_end_.get(); }
  void close_writing_end() noexcept { writing_end_.close(); }

  /// What to poll; -1 when everybody has closed the other side.
  int reading_end() const noexcept { return reading_end_.get(); }
  bool is_closed() const noexcept { return !reading_end_.is_open(); }

  /// Reads what is there, without waiting and never more than the pipe can hold: an endless writer must not
  /// keep the reader from its other duties, and what a child wrote before its end has room in the pipe.
  void read_available();

  const std::string& text() const noexcept { return text_; }
  bool is_truncated() const noexcept { return is_truncated_; }

 private:
  void append_(const char* data, std::size_t size);

  std::size_t limit_;
  Keep keep_;
  File_Descriptor reading_end_;
  File_Descriptor writing_end_;
  std::size_t capacity_;
  std::string text_;
  bool is_truncated_ = false;
};

}  // namespace zant::velmora_host
