#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <boost/filesystem/operations.hpp>

#include <mutex>
#include <set>

namespace zant::velmora_host {
namespace {

// Of this process. Never destroyed: a thread may still delete while the process ends.
struct Living {
  std::mutex mutex;
  std::set<boost::filesystem::path> paths;
};

Living& living() {
  static auto* const all = new Living;
  return *all;
}

void delete_directory(const boost::filesystem::path& path) {
  boost::system::error_code ignored;
  boost::filesystem::remove_all(path, ignored);
}

}  // namespace

Temporary_Directory::Temporary_Directory()
    : path_(boost::filesystem::temp_directory_path() /
            boost::filesystem::unique_path("package-minder-%%%%%%%%%%%%")) {
  const std::lock_guard lock(living().mutex);
  create_protected_directory(path_);
  living().paths.insert(path_);
}

Temporary_Directory::~Temporary_Directory() {
  const std::lock_guard lock(living().mutex);
  living().paths.erase(path_);
  delete_directory(path_);
}

void Temporary_Directory::delete_all_for_ever() {
  // Never unlocked.
  living().mutex.lock();
  for (const auto& path : living().paths) {
    delete_directory(path);
  }
}

}  // namespace zant::velmora_host
