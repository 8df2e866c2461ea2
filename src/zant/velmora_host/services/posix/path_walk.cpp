#include <zant/velmora_host/services/posix/path_walk.hpp>

#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <deque>
#include <sstream>
#include <utility>

namespace zant::velmora_host {
namespace {

constexpr uid_t ROOT = 0;
constexpr gid_t ROOTS_GROUP = 0;

// As many as the kernel follows.
constexpr int MOST_LINKS = 40;

// Each entry of a list that lets somebody else write shows as a right of the group.
bool has_access_control_list(int descriptor) {
  // A descriptor that is open with O_PATH has no attributes itself.
  const std::string file = fmt::format("/proc/self/fd/{}", descriptor);
  return ::getxattr(file.c_str(), "system.posix_acl_access", nullptr, 0) >= 0 ||
         (errno != ENODATA && errno != EOPNOTSUPP);
}

std::string find_foreign_owner(const struct stat& status) {
  return status.st_uid == ROOT || status.st_uid == ::geteuid()
             ? ""
             : fmt::format("belongs to the user with id {}, who may change it", status.st_uid);
}

std::string find_foreign_right(int descriptor, const struct stat& status) {
  const bool is_groups = (status.st_mode & S_IWGRP) != 0;
  if ((status.st_mode & S_IWOTH) != 0 || (is_groups && status.st_gid != ROOTS_GROUP)) {
    return fmt::format("may be changed by others (mode {:04o})", status.st_mode & 07777);
  }
  return is_groups && has_access_control_list(descriptor) ? "may be changed by others (access control list)"
                                                          : "";
}

class Walk {
 public:
  Walked_Path to(const boost::filesystem::path& path) {
    put_before_rest_(boost::filesystem::absolute(path).string());
    enter_root_();
    while (may_go_on_() && !rest_.empty()) {
      step_();
    }
    return std::move(walked_);
  }

 private:
  bool may_go_on_() const { return walked_.error == 0 && walked_.foreign_writer.empty(); }

  void put_before_rest_(const std::string& path) {
    std::deque<std::string> names;
    std::istringstream stream(path);
    for (std::string name; std::getline(stream, name, '/');) {
      if (!name.empty() && name != ".") {
        names.push_back(name);
      }
    }
    rest_.insert(rest_.begin(), names.begin(), names.end());
  }

  void enter_root_() {
    walked_.directory.close();
    walked_.name = "/";
    place_ = "/";
    enter_(File_Descriptor(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)));
  }

  void step_() {
    const std::string name = std::move(rest_.front());
    rest_.pop_front();
    if (!S_ISDIR(walked_.status.st_mode)) {
      walked_.error = ENOTDIR;
      return;
    }
    File_Descriptor next(::openat(walked_.entry.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!next.is_open()) {
      walked_.error = errno;
      return;
    }
    struct stat status {};
    if (::fstat(next.get(), &status) != 0) {
      // Without an answer a link would pass for what it leads to.
      walked_.error = errno;
      return;
    }
    if (S_ISLNK(status.st_mode)) {
      follow_(next, name, status);
      return;
    }
    walked_.directory = std::exchange(walked_.entry, File_Descriptor());
    walked_.name = name;
    place_ = name == ".." ? place_.parent_path() : place_ / name;
    enter_(std::move(next));
  }

  // The mode of a link says nothing.
  void follow_(const File_Descriptor& link, const std::string& name, const struct stat& status) {
    if (const std::string fault = find_foreign_owner(status); !fault.empty()) {
      walked_.foreign_writer = fmt::format("can be replaced: {} {}", (place_ / name).string(), fault);
      return;
    }
    std::array<char, PATH_MAX> target{};
    const ssize_t size = ::readlinkat(link.get(), "", target.data(), target.size());
    if (size < 0 || ++links_ > MOST_LINKS) {
      walked_.error = size < 0 ? errno : ELOOP;
      return;
    }
    const std::string text(target.data(), static_cast<std::size_t>(size));
    put_before_rest_(text);
    if (text.starts_with('/')) {
      enter_root_();
    }
  }

  void enter_(File_Descriptor entry) {
    if (!entry.is_open()) {
      walked_.error = errno;
      return;
    }
    walked_.entry = std::move(entry);
    if (::fstat(walked_.entry.get(), &walked_.status) != 0) {
      walked_.error = errno;
      return;
    }
    const std::string fault = find_fault_();
    if (!fault.empty()) {
      walked_.foreign_writer =
          rest_.empty() ? fault : fmt::format("can be replaced: {} {}", place_.string(), fault);
    }
  }

  std::string find_fault_() const {
    const bool keeps_entries = (walked_.status.st_mode & S_ISVTX) != 0 && !rest_.empty();
    return S_ISDIR(walked_.status.st_mode) && keeps_entries
               ? find_foreign_owner(walked_.status)
               : who_else_may_write(walked_.entry.get(), walked_.status);
  }

  Walked_Path walked_;
  std::deque<std::string> rest_;   // what is still to be opened
  boost::filesystem::path place_;  // what has been opened
  int links_ = 0;
};

}  // namespace

Walked_Path walk_path(const boost::filesystem::path& path) {
  return Walk().to(path);
}

std::string who_else_may_write(int descriptor, const struct stat& status) {
  const std::string fault = find_foreign_owner(status);
  return fault.empty() ? find_foreign_right(descriptor, status) : fault;
}

}  // namespace zant::velmora_host
