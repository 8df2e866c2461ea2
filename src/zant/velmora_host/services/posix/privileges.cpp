#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

namespace zant::velmora_host::privileges {

const char* const HOW_TO_BE_ADMINISTRATOR = "run it as root";

bool may_administer() {
  return ::geteuid() == 0;
}

std::string who_else_may_write(const boost::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    return "cannot be examined: " + error_text(errno);
  }
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) {
    return fmt::format("belongs to the user with id {}, who may change it", status.st_uid);
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return fmt::format("may be changed by others (mode {:04o})", status.st_mode & 07777);
  }
  return "";
}

}  // namespace zant::velmora_host::privileges
