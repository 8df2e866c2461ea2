#include <zant/velmora_host/reports/planning_filesystem.hpp>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora_host {
namespace {

using Path = velmora::Filesystem::Path;

bool lies_in(const Path& path, const Path& directory) {
  return std::mismatch(directory.begin(), directory.end(), path.begin(), path.end()).first == directory.end();
}

// The entries of a real directory; none where there is no such thing.
std::vector<Path> real_entries(const Path& directory) {
  std::vector<Path> entries;
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    entries.push_back(entry->path());
  }
  return entries;
}

bool is_real_directory(const Path& path) {
  boost::system::error_code ignored;
  return boost::filesystem::is_directory(path, ignored);
}

void collect_real_files(const Path& path, std::set<Path>& files) {
  if (!is_real_directory(path)) {
    files.insert(path);
    return;
  }
  for (const auto& entry : real_entries(path)) {
    collect_real_files(entry, files);
  }
}

}  // namespace

Planning_Filesystem::Planning_Filesystem(std::shared_ptr<velmora::Filesystem> real, const Path& scratch)
    : Forwarding_Filesystem(std::move(real)), scratch_(scratch) {}

std::vector<File_Change> Planning_Filesystem::changes() const {
  std::set<Path> touched = removed_files_;
  for (const auto& file : files_) {
    touched.insert(file.first);
  }
  std::vector<File_Change> changes;
  for (const auto& path : touched) {
    const auto before = real().exists(path)
                            ? std::optional(real().read_file(path, velmora::Read_Flag::WHOLE_TEXT))
                            : std::nullopt;
    const auto file = files_.find(path);
    const auto after = file == files_.end() ? std::nullopt : std::optional(file->second);
    if (before != after) {
      changes.push_back({path, before, after});
    }
  }
  return changes;
}

bool Planning_Filesystem::remove(const Path& path) {
  if (is_scratch_(path)) {
    return real().remove(path);
  }
  if (!exists(path) || has_entries_(path)) {
    return false;
  }
  hide_(path);
  return true;
}

void Planning_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    remove(path);
  }
}

void Planning_Filesystem::remove_all(const Path& path) {
  if (is_scratch_(path)) {
    real().remove_all(path);
    return;
  }
  hide_(path);
}

bool Planning_Filesystem::exists(const Path& path) {
  return files_.contains(path) || directories_.contains(path) || is_real_(path);
}

bool Planning_Filesystem::is_empty(const Path& path) {
  const bool is_directory = directories_.contains(path) || (is_real_(path) && is_real_directory(path));
  return is_directory && !has_entries_(path);
}

std::vector<Path> Planning_Filesystem::list_files(const Path& directory, const std::string& extension) {
  auto found = is_real_(directory) ? real().list_files(directory, extension) : std::vector<Path>{};
  std::erase_if(found, [this](const Path& path) { return !exists(path); });
  for (const auto& file : files_) {
    const bool is_new = std::find(found.begin(), found.end(), file.first) == found.end();
    if (is_new && file.first.parent_path() == directory && file.first.extension() == extension) {
      found.push_back(file.first);
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Planning_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  const bool may_write = copy_option == velmora::Copy_Option::OVERWRITE_EXISTING || !exists(destination);
  const auto text = text_of_(source);
  return may_write && text && write_file(destination, *text, velmora::Write_Flag::REPLACE);
}

std::size_t Planning_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                            int copy_option) {
  return static_cast<std::size_t>(std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
    return copy_file(source, directory / source.filename(), copy_option);
  }));
}

std::string Planning_Filesystem::read_file(const Path& path, int read_flag) {
  const auto file = files_.find(path);
  if (file == files_.end()) {
    return is_real_(path) ? real().read_file(path, read_flag) : "";
  }
  std::string text = file->second;
  if (read_flag == velmora::Read_Flag::WITHOUT_LINE_END && text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

bool Planning_Filesystem::write_file(const Path& path, const std::string& contents, int write_flag) {
  if (is_scratch_(path)) {
    return real().write_file(path, contents, write_flag);
  }
  if (!exists(path.parent_path())) {
    return false;
  }
  files_[path] = contents;
  return true;
}

bool Planning_Filesystem::create_directories(const Path& path) {
  if (is_scratch_(path)) {
    return real().create_directories(path);
  }
  for (Path directory = path; !directory.empty() && !exists(directory); directory = directory.parent_path()) {
    directories_.insert(directory);
  }
  return true;
}

bool Planning_Filesystem::files_equal(const Path& first, const Path& second) {
  const auto text = text_of_(first);
  return text && text == text_of_(second);
}

bool Planning_Filesystem::is_scratch_(const Path& path) const {
  return lies_in(path, scratch_);
}

bool Planning_Filesystem::is_hidden_(const Path& path) const {
  return std::any_of(hidden_.begin(), hidden_.end(),
                     [&path](const Path& hidden) { return lies_in(path, hidden); });
}

// Whether the real file or directory shines through.
bool Planning_Filesystem::is_real_(const Path& path) const {
  return !is_hidden_(path) && real().exists(path);
}

bool Planning_Filesystem::has_entries_(const Path& directory) const {
  const auto lies_here = [&directory](const Path& path) {
    return path != directory && lies_in(path, directory);
  };
  const auto entries = real_entries(directory);
  return std::any_of(files_.begin(), files_.end(), [&](const auto& file) { return lies_here(file.first); }) ||
         std::any_of(directories_.begin(), directories_.end(), lies_here) ||
         std::any_of(entries.begin(), entries.end(),
                     [this](const Path& entry) { return !is_hidden_(entry); });
}

std::optional<std::string> Planning_Filesystem::text_of_(const Path& path) const {
  if (const auto file = files_.find(path); file != files_.end()) {
    return file->second;
  }
  if (!is_real_(path) || is_real_directory(path)) {
    return std::nullopt;
  }
  return real().read_file(path, velmora::Read_Flag::WHOLE_TEXT);
}

void Planning_Filesystem::hide_(const Path& path) {
  if (is_real_(path)) {
    collect_real_files(path, removed_files_);
    hidden_.insert(path);
  }
  std::erase_if(files_, [&path](const auto& file) { return lies_in(file.first, path); });
  std::erase_if(directories_, [&path](const Path& directory) { return lies_in(directory, path); });
}

}  // namespace zant::velmora_host
