#include <zant/velmora_host/services/posix/input_file.hpp>

#include <zant/velmora_host/services/posix/path_walk.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>

#include <utility>

namespace zant::velmora_host {

namespace {

// A fifo in the file's place must not make the caller wait for a writer.
constexpr int OPEN_FLAGS = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

}  // namespace

Input_File::Input_File(const boost::filesystem::path& path)
    : Input_File(File_Descriptor(::open(path.c_str(), OPEN_FLAGS))) {}

Input_File::Input_File(const File_Descriptor& directory, const std::string& name)
    : Input_File(File_Descriptor(::openat(directory.get(), name.c_str(), OPEN_FLAGS | O_NOFOLLOW))) {}

Input_File::Input_File(File_Descriptor file) : file_(std::move(file)) {
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

std::string Input_File::read_all() {
  std::string text;
  for (auto piece = next_piece(); !piece.empty(); piece = next_piece()) {
    text += piece;
  }
  return text;
}

std::string Input_File::who_else_may_write() const {
  struct stat status {};
  if (::fstat(file_.get(), &status) != 0) {
    throw_system_error("cannot read");
  }
  return velmora_host::who_else_may_write(file_.get(), status);
}

}  // namespace zant::velmora_host
