#include <zant/velmora_host/services/posix/replacement_file.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zant::velmora_host {
namespace {

// Without set-user-ID and the like, which no text has a use for.
constexpr mode_t PERMISSIONS = 0777;
constexpr mode_t OWNERS_PERMISSIONS = 0700;

// Hidden, so that package managers ignore what a killed process leaves.
std::string temporary_path_template(const boost::filesystem::path& destination) {
  const std::string name = "." + destination.filename().string() + ".XXXXXX" + Replacement_File::EXTENSION;
  return (destination.parent_path() / name).string();
}

}  // namespace

Replacement_File::Replacement_File(const boost::filesystem::path& destination)
    : destination_(destination), temporary_path_(temporary_path_template(destination)), mode_(MODE) {
  const auto suffix_size = static_cast<int>(std::strlen(EXTENSION));
  file_ = File_Descriptor(::mkostemps(temporary_path_.data(), suffix_size, O_CLOEXEC));
  if (!file_.is_open()) {
    throw_system_error("cannot create a file beside it");
  }
}

Replacement_File::~Replacement_File() {
  if (!is_in_place_ && file_.is_open()) {
    ::unlink(temporary_path_.c_str());
  }
}

void Replacement_File::write(std::string_view data) {
  while (!data.empty()) {
    const ssize_t size = ::write(file_.get(), data.data(), data.size());
    if (size >= 0) {
      data.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      throw_system_error("cannot write");
    }
  }
}

void Replacement_File::give_access_of(const struct stat& other) {
  // Until the end it has mode 0600, so that nobody opens it meanwhile.
  const bool has_its_owner = ::fchown(file_.get(), other.st_uid, other.st_gid) == 0;
  mode_ = other.st_mode & (has_its_owner ? PERMISSIONS : OWNERS_PERMISSIONS);
}

void Replacement_File::commit() {
  if (::fchmod(file_.get(), mode_) != 0 || ::fsync(file_.get()) != 0) {
    throw_system_error("cannot write");
  }
  if (::rename(temporary_path_.c_str(), destination_.c_str()) != 0) {
    throw_system_error("cannot put the new file in its place");
  }
  is_in_place_ = true;
  sync_directory(destination_.parent_path());
}

void sync_directory(const boost::filesystem::path& directory) {
  const std::string path = directory.empty() ? "." : directory.string();
  const File_Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // Some file systems cannot do it, and say so with EINVAL.
  if (!descriptor.is_open() || (::fsync(descriptor.get()) != 0 && errno != EINVAL)) {
    throw_system_error("cannot bring the directory to the disk");
  }
}

}  // namespace zant::velmora_host
