#include <zant/velmora_host/services/judged_file.hpp>

#include <zant/velmora_host/services/posix/input_file.hpp>
#include <zant/velmora_host/services/posix/path_walk.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace zant::velmora_host {
namespace {

void require_regular_file(const struct stat& status) {
  if (!S_ISREG(status.st_mode)) {
    throw_system_error("not a regular file", S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
}

}  // namespace

Judged_Text read_judged(const boost::filesystem::path& file) {
  struct stat status {};
  // What the kernel alone can follow, such as /dev/stdin, has its own message.
  if (::stat(file.c_str(), &status) == 0) {
    require_regular_file(status);
  }
  const Walked_Path walked = walk_path(file);
  if (!walked.foreign_writer.empty()) {
    return {"", walked.foreign_writer};
  }
  if (walked.error != 0) {
    throw_system_error("cannot open", walked.error);
  }
  // Opening a device may do something.
  require_regular_file(walked.status);
  Input_File input(walked.directory, walked.name);
  if (std::string fault = input.who_else_may_write(); !fault.empty()) {
    return {"", std::move(fault)};
  }
  return {input.read_all(), ""};
}

}  // namespace zant::velmora_host
