#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/directory_claim.hpp>
#include <zant/velmora_host/services/new_private_directory.hpp>

#include <boost/filesystem/operations.hpp>

#include <mutex>
#include <set>

namespace zant::velmora_host {
namespace {

// As nobody else names theirs: what is called so, and not claimed, is deleted.
constexpr const char* NAME = "package-minder-private";
constexpr const char* BEGINNING = "package-minder-private-";
constexpr int MOST_ATTEMPTS = 3;

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
  static std::once_flag abandoned_are_deleted;
  std::call_once(abandoned_are_deleted, delete_abandoned);
  const std::lock_guard lock(living().mutex);
  make_();
  living().paths.insert(path_);
}

Temporary_Directory::~Temporary_Directory() {
  const std::lock_guard lock(living().mutex);
  living().paths.erase(path_);
  claim_.reset();
  delete_directory(path_);
}

void Temporary_Directory::delete_abandoned() {
  boost::system::error_code error;
  const auto parent = boost::filesystem::temp_directory_path(error);
  for (boost::filesystem::directory_iterator entry(parent, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().string().starts_with(BEGINNING) && claim_directory(entry->path())) {
      delete_directory(entry->path());
    }
  }
}

// Until it is claimed, another process may take it for an abandoned one. Not every file system knows claims.
void Temporary_Directory::make_() {
  for (int attempts = 0; !claim_ && attempts < MOST_ATTEMPTS; ++attempts) {
    delete_directory(path_);
    path_ = new_private_directory(boost::filesystem::temp_directory_path() / NAME);
    claim_ = claim_directory(path_);
  }
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
