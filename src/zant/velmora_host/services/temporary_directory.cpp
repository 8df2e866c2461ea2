#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/new_private_directory.hpp>

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

Temporary_Directory::Temporary_Directory() {
  const std::lock_guard lock(living().mutex);
  path_ = new_private_directory(boost::filesystem::temp_directory_path() / "package-minder");
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
    // Under another name, so that nobody finds it who still writes into it.
    boost::filesystem::path doomed = path;
    boost::system::error_code error;
    boost::filesystem::rename(path, doomed += ".deleted", error);
    delete_directory(error ? path : doomed);
  }
}

}  // namespace zant::velmora_host
