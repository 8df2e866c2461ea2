#include <zant/velmora_host/services/posix/captured_stream.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zant::velmora_host {
namespace {

constexpr int FIRST_FREE_NUMBER = 3;
constexpr std::size_t USUAL_PIPE_CAPACITY = 65536;

// A process that was started with its standard descriptors closed gets their numbers for its pipes; a child
// would then overwrite one with the other.
File_Descriptor above_standard_numbers(File_Descriptor descriptor) {
  if (descriptor.get() >= FIRST_FREE_NUMBER) {
    return descriptor;
  }
  File_Descriptor moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, FIRST_FREE_NUMBER));
  if (!moved.is_open()) {
    throw_system_error("cannot make a pipe");
  }
  return moved;
}

std::size_t pipe_capacity(int descriptor) {
  const int size = ::fcntl(descriptor, F_GETPIPE_SZ);
  return size > 0 ? static_cast<std::size_t>(size) : USUAL_PIPE_CAPACITY;
}

}  // namespace

Captured_Stream::Captured_Stream(std::size_t limit, Keep keep) : limit_(limit), keep_(keep) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw_system_error("cannot make a pipe");
  }
  File_Descriptor reading_end(ends[0]);
  File_Descriptor writing_end(ends[1]);
  reading_end_ = above_standard_numbers(std::move(reading_end));
  writing_end_ = above_standard_numbers(std::move(writing_end));
  capacity_ = pipe_capacity(reading_end_.get());
  // Our side only: a child that met a non-blocking standard output would lose text.
  ::fcntl(reading_end_.get(), F_SETFL, O_NONBLOCK);
}

void Captured_Stream::read_available() {
  std::array<char, 16384> buffer;
  for (std::size_t taken = 0; !is_closed() && taken < capacity_;) {
    const ssize_t size = ::read(reading_end_.get(), buffer.data(), buffer.size());
    if (size > 0) {
      append_(buffer.data(), static_cast<std::size_t>(size));
      taken += static_cast<std::size_t>(size);
    } else if (size == 0) {
      reading_end_.close();
    } else if (errno != EINTR) {
      return;
    }
  }
}

void Captured_Stream::append_(const char* data, std::size_t size) {
  if (keep_ == Keep::START) {
    const std::size_t room = limit_ - text_.size();
    text_.append(data, std::min(size, room));
    is_truncated_ = is_truncated_ || size > room;
    return;
  }
  text_.append(data, size);
  if (text_.size() > limit_) {
    text_.erase(0, text_.size() - limit_);
    is_truncated_ = true;
  }
}

}  // namespace zant::velmora_host
