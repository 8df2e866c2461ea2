#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/posix/path_walk.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <unistd.h>

#include <cerrno>

namespace zant::velmora_host::privileges {

const char* const HOW_TO_BE_ADMINISTRATOR = "run it as root";

namespace {

std::string not_examined(const boost::filesystem::path& path, int error) {
  throw_if_passing({error, std::generic_category()}, "examine", path);
  return "cannot be examined: " + error_text(error);
}

}  // namespace

bool may_administer() {
  return ::geteuid() == 0;
}

std::string who_else_may_write(const boost::filesystem::path& path) {
  const Walked_Path walked = walk_path(path);
  return walked.error == 0 ? walked.foreign_writer : not_examined(path, walked.error);
}

std::string who_else_may_write_what_is_there(const boost::filesystem::path& path) {
  const Walked_Path walked = walk_path(path);
  const bool is_known = walked.error == 0 || walked.error == ENOENT || walked.error == ENOTDIR;
  return is_known ? walked.foreign_writer : not_examined(path, walked.error);
}

}  // namespace zant::velmora_host::privileges
