#include <zant/velmora_host/services/posix/input_file.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>

namespace zant::velmora_host {

Input_File::Input_File(const boost::filesystem::path& path)
    // A fifo in the file's place must not make the caller wait for a writer.
    : file_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
  if (!file_.is_open()) {
    throw_system_error("cannot open");
  }
  if (::fstat(file_.get(), &status_) != 0) {
    throw_system_error("cannot read");
  }
  if (!S_ISREG(status_.st_mode)) {
    throw_system_error("not a regular file", S_ISDIR(status_.st_mode) ? EISDIR : EINVAL);
  }
}

std::string_view Input_File::next_piece() {
  std::size_t filled = 0;
  // Filled up, so that two files with the same contents come in the same pieces.
  while (filled < buffer_.size()) {
    const ssize_t size = ::read(file_.get(), buffer_.data() + filled, buffer_.size() - filled);
    if (size == 0) {
      break;
    }
    if (size > 0) {
      filled += static_cast<std::size_t>(size);
    } else if (errno != EINTR) {
      throw_system_error("cannot read");
    }
  }
  return {buffer_.data(), filled};
}

}  // namespace zant::velmora_host
