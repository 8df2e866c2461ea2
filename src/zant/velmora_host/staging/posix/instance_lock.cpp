#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/posix/file_descriptor.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

namespace zant::velmora_host {
namespace {

constexpr mode_t FILE_MODE = 0644;

File_Descriptor open_lock_file(const boost::filesystem::path& file) {
  File_Descriptor descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, FILE_MODE));
  if (!descriptor.is_open()) {
    throw_system_error("cannot open " + file.string());
  }
  return descriptor;
}

std::string read_holder(const File_Descriptor& descriptor) {
  std::array<char, 32> text{};
  const ssize_t size = ::pread(descriptor.get(), text.data(), text.size(), 0);
  const std::string holder(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return holder.empty() ? "unknown" : holder;
}

// False when whoever had the lock took the file away with it: then it guards nothing.
bool is_still_there(const File_Descriptor& descriptor, const boost::filesystem::path& file) {
  struct stat ours {};
  struct stat current {};
  return ::fstat(descriptor.get(), &ours) == 0 && ::stat(file.c_str(), &current) == 0 &&
         ours.st_dev == current.st_dev && ours.st_ino == current.st_ino;
}

void lock_or_refuse(const File_Descriptor& descriptor, const boost::filesystem::path& file) {
  if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0) {
    return;
  }
  if (errno != EWOULDBLOCK) {
    throw_system_error("cannot lock " + file.string());
  }
  throw Refusal(
      Refusal_Reason::BUSY,
      fmt::format("another package-minder (process {}) is already running; wait until it ends, or stop it "
                  "first, the service with \"systemctl stop package-minder\"",
                  read_holder(descriptor)));
}

void write_holder(const File_Descriptor& descriptor) {
  const std::string holder = std::to_string(::getpid());
  // Only for the message above: a lock without it is as good.
  if (::ftruncate(descriptor.get(), 0) == 0) {
    [[maybe_unused]] const ssize_t size = ::pwrite(descriptor.get(), holder.data(), holder.size(), 0);
  }
}

}  // namespace

Instance_Lock::Instance_Lock(const boost::filesystem::path& file) : file_(file), descriptor_(-1) {
  File_Descriptor descriptor;
  do {
    descriptor = open_lock_file(file);
    lock_or_refuse(descriptor, file);
  } while (!is_still_there(descriptor, file));
  write_holder(descriptor);
  descriptor_ = descriptor.release();
}

Instance_Lock::~Instance_Lock() {
  ::close(descriptor_);
}

void Instance_Lock::remove_file() {
  ::unlink(file_.c_str());
}

}  // namespace zant::velmora_host
