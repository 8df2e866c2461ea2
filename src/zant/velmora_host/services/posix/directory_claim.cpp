#include <zant/velmora_host/services/directory_claim.hpp>

#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zant::velmora_host {

std::shared_ptr<void> claim_directory(const boost::filesystem::path& directory) {
  auto descriptor = std::make_shared<File_Descriptor>(
      ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat opened {};
  struct stat named {};
  // Whoever held the claim until now may have deleted the directory.
  const bool is_claimed =
      descriptor->is_open() && ::fstat(descriptor->get(), &opened) == 0 && opened.st_uid == ::geteuid() &&
      ::flock(descriptor->get(), LOCK_EX | LOCK_NB) == 0 && ::lstat(directory.c_str(), &named) == 0 &&
      named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
  return is_claimed ? descriptor : nullptr;
}

}  // namespace zant::velmora_host
