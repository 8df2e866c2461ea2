#include <zant/velmora_host/staging/work_area.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>
#include <zant/velmora_host/staging/state_directory.hpp>

#include <boost/filesystem/operations.hpp>

#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

constexpr const char* LOCK_FILE = "lock";
constexpr const char* STAGING_DIRECTORY = "staging";
constexpr const char* UNFINISHED_STAGING_DIRECTORY = "staging.new";

[[noreturn]] void refuse(const path& directory, const std::string& what) {
  throw Refusal(Refusal_Reason::BAD_SETTINGS,
                Findings{{directory.string(), what,
                          "the state directory must belong to root alone and be writable, or "
                          "minder.state_directory must name another one"}});
}

path prepare_directory(const Settings& settings) {
  state_directory::prepare(settings);
  return settings.state_directory();
}

path lock_file_in(const path& directory) {
  return directory / LOCK_FILE;
}

}  // namespace

Work_Area::Work_Area(const Settings& settings, const Staging_Layout& layout,
                     std::shared_ptr<velmora::Filesystem> filesystem) try
    : filesystem_(std::move(filesystem)),
      directory_(prepare_directory(settings)),
      lock_(lock_file_in(directory_)) {
  Temporary_Directory::delete_abandoned();
  make_staging_directory_(settings, layout);
} catch (const std::system_error& error) {
  if (is_passing(error.code())) {
    throw;
  }
  refuse(settings.state_directory(), error.what());
}

std::string Work_Area::find_holder(const Settings& settings) {
  return Instance_Lock::find_holder(lock_file_in(settings.state_directory()));
}

path Work_Area::staging_directory() const {
  return directory_ / STAGING_DIRECTORY;
}

void Work_Area::remove() {
  filesystem_->remove_all(staging_directory());
  lock_.remove_file();
  state_directory::remove(directory_, *filesystem_);
}

void Work_Area::make_staging_directory_(const Settings& settings, const Staging_Layout& layout) {
  const path unfinished = directory_ / UNFINISHED_STAGING_DIRECTORY;
  filesystem_->remove_all(unfinished);
  make_staging_directory(settings.staging_directory(), layout, unfinished, *filesystem_);
  // Files rendered by an earlier run must not be used by this one.
  filesystem_->remove_all(staging_directory());
  boost::filesystem::rename(unfinished, staging_directory());
}

}  // namespace zant::velmora_host
