#include <zant/velmora_host/minding/acting_filesystem.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

path while_filled(const path& backups) {
  return backups.string() + ".new";
}

path while_emptied(const path& backups) {
  return backups.string() + ".old";
}

[[noreturn]] void throw_because_it_stays(const path& path) {
  throw std::runtime_error(fmt::format("Could not remove {}", path.string()));
}

bool lies_below(const path& inner, const path& outer) {
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

}  // namespace

Acting_Filesystem::Acting_Filesystem(std::shared_ptr<Host_Filesystem> real,
                                     std::shared_ptr<Unfinished_Work> work, std::vector<Path> backups,
                                     Path untouched)
    : Forwarding_Filesystem(std::move(real)),
      work_(std::move(work)),
      backups_(std::move(backups)),
      untouched_(std::move(untouched)) {}

std::vector<velmora::Filesystem::Path> Acting_Filesystem::names_aside(const Path& backups) {
  return {while_filled(backups), while_emptied(backups)};
}

void Acting_Filesystem::remove_leftovers() {
  for (const auto& directory : backups_) {
    for (const auto& leftover : names_aside(directory)) {
      real().remove_all(leftover);
    }
  }
}

bool Acting_Filesystem::remove(const Path& path) {
  const bool counts_as_there = is_unfinished_(path);
  note_(path);
  if (real().remove(path)) {
    return true;
  }
  require_absence_(path);
  return counts_as_there;
}

void Acting_Filesystem::remove(const std::vector<Path>& paths) {
  std::for_each(paths.begin(), paths.end(), [this](const Path& path) { note_(path); });
  real().remove(paths);
  std::for_each(paths.begin(), paths.end(), [this](const Path& path) { require_absence_(path); });
}

void Acting_Filesystem::remove_all(const Path& path) {
  if (!is_backups_(path)) {
    note_(path);
    remove_whole_(path);
  } else if (real().exists(path)) {
    remove_whole_(while_emptied(path));
    if (!real().move(path, while_emptied(path))) {
      throw_because_it_stays(path);
    }
    remove_whole_(while_emptied(path));
  }
}

bool Acting_Filesystem::exists(const Path& path) {
  return is_unfinished_(path) || real().exists(path);
}

bool Acting_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  note_(destination);
  const bool is_copied = real().copy_file(source, destination, copy_option);
  if (!is_copied && is_backups_(source.parent_path())) {
    throw std::runtime_error(
        fmt::format("Could not put {} back; its copy is {}", destination.string(), source.string()));
  }
  return is_copied;
}

std::size_t Acting_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                          int copy_option) {
  if (is_backups_(directory)) {
    return fill_backups_(sources, directory, copy_option);
  }
  for (const auto& source : sources) {
    note_(directory / source.filename());
  }
  return real().copy_files(sources, directory, copy_option);
}

bool Acting_Filesystem::write_file(const Path& path, const std::string& contents, int write_flag) {
  if (!real().write_file(path, contents, write_flag)) {
    throw std::runtime_error(fmt::format("Could not write {}", path.string()));
  }
  return true;
}

bool Acting_Filesystem::create_directories(const Path& path) {
  if (!is_backups_(path) || real().exists(path)) {
    return real().create_directories(path);
  }
  real().remove_all(while_filled(path));
  return real().create_directories(while_filled(path));
}

bool Acting_Filesystem::files_equal(const Path& first, const Path& second) {
  const auto is_in_order = [this](const Path& path) {
    return !is_unfinished_(path) && real().has_common_access(path);
  };
  return is_in_order(first) && is_in_order(second) && real().files_equal(first, second);
}

std::size_t Acting_Filesystem::fill_backups_(const std::vector<Path>& sources, const Path& directory,
                                             int copy_option) {
  const Path unfinished = while_filled(directory);
  std::size_t copied = 0;
  for (const auto& source : sources) {
    if (!real().exists(source)) {
      continue;
    }
    if (!real().copy_file(source, unfinished / source.filename(), copy_option)) {
      throw std::runtime_error(
          fmt::format("Could not keep a copy of {}; nothing is changed", source.string()));
    }
    ++copied;
  }
  if (!real().move(unfinished, directory)) {
    throw std::runtime_error(
        fmt::format("Could not keep copies in {}; nothing is changed", directory.string()));
  }
  return copied;
}

bool Acting_Filesystem::is_backups_(const Path& directory) const {
  return std::find(backups_.begin(), backups_.end(), directory) != backups_.end();
}

// A copy of the host's own is never made up: it is there or not.
bool Acting_Filesystem::is_unfinished_(const Path& path) const {
  return !is_backups_(path) && !is_backups_(path.parent_path()) && work_->was_touched(path);
}

void Acting_Filesystem::note_(const Path& path) {
  if (!lies_below(path, untouched_)) {
    work_->note(path);
  }
}

void Acting_Filesystem::remove_whole_(const Path& directory) {
  real().remove_all(directory);
  if (real().exists(directory)) {
    throw_because_it_stays(directory);
  }
}

// A directory with entries may stay.
void Acting_Filesystem::require_absence_(const Path& path) {
  const File_Type type = real().type_of(path);
  if (type != File_Type::NONE && (type != File_Type::DIRECTORY || real().is_empty(path))) {
    throw_because_it_stays(path);
  }
}

}  // namespace zant::velmora_host
