#include <program/platform/log_output.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>

namespace zant::program::log_output {
namespace {

bool is_journal(int descriptor) {
  // The service manager names the stream that it connected; a redirection since then makes it another one.
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return stream != nullptr && ::fstat(descriptor, &status) == 0 &&
         fmt::format("{}:{}", status.st_dev, status.st_ino) == stream;
}

}  // namespace

Reader reader_of(int descriptor) {
  if (is_journal(descriptor)) {
    return Reader::JOURNAL;
  }
  return ::isatty(descriptor) == 1 ? Reader::TERMINAL : Reader::OTHER;
}

void write(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(descriptor, text.data(), text.size());
    if (size >= 0) {
      text.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace zant::program::log_output
