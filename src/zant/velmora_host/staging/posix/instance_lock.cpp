#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/posix/file_descriptor.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace zant::velmora_host {
namespace {

// Whoever can open the file can lock it, in ways that keep others out of it or wait for it.
constexpr mode_t FILE_MODE = 0600;

// A lock on the whole file that belongs to the open file and not to the process. Other than that of flock(2),
// it can be asked about without being taken.
struct flock whole_file() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

bool is_open_to_others(const File_Descriptor& descriptor) {
  struct stat status {};
  return ::fstat(descriptor.get(), &status) == 0 && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
}

// Of root's, or of this process's user.
bool is_own_process(const std::string& id) {
  struct stat status {};
  return ::stat(("/proc/" + id).c_str(), &status) == 0 &&
         (status.st_uid == 0 || status.st_uid == ::geteuid());
}

std::string read_holder(const File_Descriptor& descriptor) {
  std::array<char, 32> text{};
  const ssize_t size = ::pread(descriptor.get(), text.data(), text.size(), 0);
  const std::string holder(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return holder.empty() ? "unknown" : holder;
}

}  // namespace

class Instance_Lock::Lock_File {
 public:
  explicit Lock_File(const boost::filesystem::path& file) : path_(file) {
    do {
      open_();
    } while (!lock_or_refuse_() || !is_still_there_());
    write_holder_();
  }

  void remove() { ::unlink(path_.c_str()); }

 private:
  void open_() {
    descriptor_ = File_Descriptor(
        ::open(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, FILE_MODE));
    if (!descriptor_.is_open()) {
      throw_system_error("cannot open " + path_.string());
    }
    require_regular_file_();
    was_open_to_others_ = is_open_to_others(descriptor_);
    if (::fchmod(descriptor_.get(), FILE_MODE) != 0) {
      throw_system_error("cannot set the mode of " + path_.string());
    }
  }

  // Somebody could keep the service from starting with a fifo, too.
  void require_regular_file_() const {
    struct stat status {};
    if (::fstat(descriptor_.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
      throw_system_error(path_.string() + " is not a regular file", EINVAL);
    }
  }

  // False when the lock was taken away from a user and must be tried again.
  bool lock_or_refuse_() {
    struct flock lock = whole_file();
    if (::fcntl(descriptor_.get(), F_OFD_SETLK, &lock) == 0) {
      return true;
    }
    if (errno != EAGAIN && errno != EACCES) {
      throw_system_error("cannot lock " + path_.string());
    }
    // Earlier versions created the file for everybody to read, and a lock that a user has on it stays.
    if (was_open_to_others_ && !is_own_process(read_holder(descriptor_))) {
      ::unlink(path_.c_str());
      return false;
    }
    throw Refusal(Refusal_Reason::BUSY,
                  fmt::format("another package-minder (process {}) is already running; wait until it ends, "
                              "or stop it first, the service with \"systemctl stop package-minder\"",
                              read_holder(descriptor_)));
  }

  // False when the process that held the lock before deleted the file: then the lock keeps nobody out.
  bool is_still_there_() const {
    struct stat ours {};
    struct stat current {};
    return ::fstat(descriptor_.get(), &ours) == 0 && ::stat(path_.c_str(), &current) == 0 &&
           ours.st_dev == current.st_dev && ours.st_ino == current.st_ino;
  }

  void write_holder_() {
    const std::string holder = std::to_string(::getpid());
    // Only for messages: a lock without it is as good.
    if (::ftruncate(descriptor_.get(), 0) == 0) {
      [[maybe_unused]] const ssize_t size = ::pwrite(descriptor_.get(), holder.data(), holder.size(), 0);
    }
  }

  boost::filesystem::path path_;
  File_Descriptor descriptor_;
  bool was_open_to_others_ = false;
};

Instance_Lock::Instance_Lock(const boost::filesystem::path& file)
    : lock_file_(std::make_unique<Lock_File>(file)) {}

Instance_Lock::~Instance_Lock() = default;

std::string Instance_Lock::find_holder(const boost::filesystem::path& file) {
  const File_Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!descriptor.is_open()) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return "";
    }
    throw_system_error("cannot open " + file.string());
  }
  struct flock lock = whole_file();
  if (::fcntl(descriptor.get(), F_OFD_GETLK, &lock) != 0) {
    throw_system_error("cannot ask for the lock of " + file.string());
  }
  return lock.l_type == F_UNLCK ? "" : read_holder(descriptor);
}

void Instance_Lock::remove_file() {
  lock_file_->remove();
}

}  // namespace zant::velmora_host
