#include <zant/velmora_host/services/disk_operations.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/posix/input_file.hpp>
#include <zant/velmora_host/services/posix/replacement_file.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace zant::velmora_host {

const char* const File_Service::TEMPORARY_EXTENSION = Replacement_File::EXTENSION;

namespace disk {
namespace {

constexpr mode_t DIRECTORY_MODE = 0755;
constexpr mode_t PRIVATE_DIRECTORY_MODE = 0700;
constexpr mode_t ACCESS_OF_OTHERS = 0077;
constexpr mode_t ALL_PERMISSIONS = 07777;

bool directory_exists(const Path& path) {
  boost::system::error_code ignored;
  return boost::filesystem::is_directory(path, ignored);
}

// With this mode, whatever the process's mask says.
void create_directory_with(const Path& path, mode_t mode) {
  if (::mkdir(path.c_str(), mode) != 0) {
    const int error_number = errno;
    // Another process may have created it meanwhile.
    if (error_number == EEXIST && directory_exists(path)) {
      return;
    }
    throw_system_error("cannot create it", error_number);
  }
  if (::chmod(path.c_str(), mode) != 0) {
    throw_system_error("cannot set its mode");
  }
  sync_directory(path.parent_path());
}

// The reason alone: the log says already what could not be done.
[[noreturn]] void throw_reason() {
  throw std::system_error(errno, std::generic_category());
}

}  // namespace

std::string read(const Path& path) {
  return Input_File(path).read_all();
}

void write(const Path& path, const std::string& contents) {
  Replacement_File file(path);
  file.write(contents);
  file.commit();
}

void copy(const Path& source, const Path& destination, Access access) {
  Input_File original(source);
  Replacement_File copy(destination);
  for (auto piece = original.next_piece(); !piece.empty(); piece = original.next_piece()) {
    copy.write(piece);
  }
  if (access == Access::AS_THE_SOURCE) {
    copy.give_access_of(original.status());
  }
  copy.commit();
}

bool are_equal(const Path& first, const Path& second) {
  Input_File one(first);
  Input_File other(second);
  if (one.size() != other.size()) {
    return false;
  }
  while (true) {
    const auto piece = one.next_piece();
    if (piece != other.next_piece()) {
      return false;
    }
    if (piece.empty()) {
      return true;
    }
  }
}

void move(const Path& from, const Path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) {
    throw_reason();
  }
  sync_directory(to.parent_path());
  if (from.parent_path() != to.parent_path()) {
    sync_directory(from.parent_path());
  }
}

void remove_file(const Path& path) {
  if (::unlink(path.c_str()) != 0) {
    throw_reason();
  }
  sync_directory(path.parent_path());
}

void remove(const Path& path) {
  if (std::remove(path.c_str()) != 0) {
    throw_reason();
  }
  sync_directory(path.parent_path());
}

void remove_all(const Path& path) {
  boost::system::error_code error;
  const auto removed = boost::filesystem::remove_all(path, error);
  if (error) {
    throw std::system_error(error.value(), std::generic_category());
  }
  if (removed > 0) {
    sync_directory(path.parent_path());
  }
}

void create_directory(const Path& path) {
  create_directory_with(path, DIRECTORY_MODE);
}

void create_private_directory(const Path& path) {
  create_directory_with(path, PRIVATE_DIRECTORY_MODE);
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 ||
      ((status.st_mode & ACCESS_OF_OTHERS) != 0 && ::chmod(path.c_str(), PRIVATE_DIRECTORY_MODE) != 0)) {
    throw_system_error("cannot set its mode");
  }
}

bool has_common_access(const Path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    throw_if_passing({errno, std::generic_category()}, "look at", path);
    return true;
  }
  return !S_ISREG(status.st_mode) ||
         (status.st_uid == ::geteuid() && (status.st_mode & ALL_PERMISSIONS) == Replacement_File::MODE);
}

std::string stamp_of(const Path& path) {
  const auto text_of = [](const struct stat& status) {
    return fmt::format("{}:{} {} {}.{} {}.{};", status.st_dev, status.st_ino, status.st_size,
                       status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                       status.st_ctim.tv_nsec);
  };
  struct stat entry {};
  if (::lstat(path.c_str(), &entry) != 0) {
    return "";
  }
  struct stat target {};
  const bool leads_elsewhere = S_ISLNK(entry.st_mode) && ::stat(path.c_str(), &target) == 0;
  return leads_elsewhere ? text_of(entry) + text_of(target) : text_of(entry);
}

// A link that leads in a circle leads nowhere.
bool means_missing(int error_code) {
  return error_code == ENOENT || error_code == ENOTDIR || error_code == ELOOP;
}

// As Input_File has it.
bool means_no_file(int error_code) {
  return error_code == EISDIR || error_code == EINVAL;
}

std::string error_text(int error_code) {
  return velmora_host::error_text(error_code);
}

}  // namespace disk
}  // namespace zant::velmora_host
