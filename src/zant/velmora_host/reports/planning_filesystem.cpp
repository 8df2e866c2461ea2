#include <zant/velmora_host/reports/planning_filesystem.hpp>

#include <zant/velmora_host/services/line_end.hpp>

#include <algorithm>
#include <set>
#include <utility>

namespace zant::velmora_host {
namespace {

using Path = velmora::Filesystem::Path;

// One spelling for each place: without ".", ".." and a slash at the end.
Path normal(const Path& path) {
  Path spelling = path.lexically_normal();
  const bool ends_in_slash = spelling.filename().empty() || spelling.filename() == ".";
  return ends_in_slash && spelling.has_parent_path() ? spelling.parent_path() : spelling;
}

// Of a relative path without a directory, where the process works.
Path parent_of(const Path& path) {
  return path.has_parent_path() ? path.parent_path() : Path(".");
}

bool lies_in(const Path& path, const Path& directory) {
  return std::mismatch(directory.begin(), directory.end(), path.begin(), path.end()).first == directory.end();
}

void collect_files(Host_Filesystem& filesystem, const Path& path, std::set<Path>& files) {
  if (filesystem.type_of(path) != File_Type::DIRECTORY) {
    files.insert(path);
    return;
  }
  for (const auto& entry : filesystem.list_entries(path)) {
    collect_files(filesystem, entry, files);
  }
}

std::optional<std::string> text_in(Host_Filesystem& filesystem, const Path& path) {
  const File_Type type = filesystem.type_of(path);
  return type == File_Type::NONE || type == File_Type::DIRECTORY
             ? std::nullopt
             : std::optional(filesystem.read_file(path, velmora::Read_Flag::WHOLE_TEXT));
}

}  // namespace

Planning_Filesystem::Planning_Filesystem(std::shared_ptr<Host_Filesystem> real, const Path& scratch)
    : Forwarding_Filesystem(std::move(real)), scratch_(normal(scratch)) {}

std::vector<File_Change> Planning_Filesystem::changes() const {
  std::set<Path> touched;
  for (const auto& [path, entry] : entries_) {
    collect_files(real(), path, touched);
    if (entry.type == File_Type::FILE) {
      touched.insert(path);
    }
  }
  std::vector<File_Change> changes;
  for (const auto& path : touched) {
    const auto before = text_in(real(), path);
    const auto after = text_of_(path);
    if (before != after || (after && !real().has_common_access(path))) {
      changes.push_back({path, before, after});
    }
  }
  return changes;
}

bool Planning_Filesystem::remove(const Path& path) {
  if (is_scratch_(path)) {
    return real().remove(path);
  }
  const bool can_be_removed = has_entry_(path) && planned_entries_(path).empty();
  if (can_be_removed) {
    remove_entry_(path);
  }
  return can_be_removed;
}

void Planning_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    if (is_scratch_(path)) {
      real().remove(std::vector{path});
    } else if (planned_type_(path) != File_Type::DIRECTORY) {
      remove(path);
    }
  }
}

void Planning_Filesystem::remove_all(const Path& path) {
  if (is_scratch_(path)) {
    real().remove_all(path);
  } else if (has_entry_(path)) {
    remove_entry_(path);
  }
}

bool Planning_Filesystem::exists(const Path& path) {
  return planned_type_(path) != File_Type::NONE;
}

bool Planning_Filesystem::is_empty(const Path& path) {
  return planned_type_(path) == File_Type::DIRECTORY && planned_entries_(path).empty();
}

std::vector<Path> Planning_Filesystem::list_files(const Path& directory, const std::string& extension) {
  std::vector<Path> found = planned_entries_(directory);
  std::erase_if(found, [&](const Path& path) {
    return path.extension() != extension || planned_type_(path) != File_Type::FILE;
  });
  return found;
}

bool Planning_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  if (is_scratch_(source) && is_scratch_(destination)) {
    return real().copy_file(source, destination, copy_option);
  }
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
  const std::string text = text_of_(path).value_or("");
  return read_flag == velmora::Read_Flag::WITHOUT_LINE_END ? without_line_end(text) : text;
}

bool Planning_Filesystem::write_file(const Path& path, const std::string& contents, int write_flag) {
  if (is_scratch_(path)) {
    return real().write_file(path, contents, write_flag);
  }
  if (planned_type_(path) == File_Type::DIRECTORY ||
      planned_type_(parent_of(normal(path))) != File_Type::DIRECTORY) {
    return false;
  }
  cover_(path, File_Type::FILE, contents);
  return true;
}

bool Planning_Filesystem::create_directories(const Path& path) {
  if (is_scratch_(path)) {
    return real().create_directories(path);
  }
  if (planned_type_(path) == File_Type::DIRECTORY) {
    return true;
  }
  const Path parent = normal(path).parent_path();
  if (has_entry_(path) || !(parent.empty() || create_directories(parent))) {
    return false;
  }
  cover_(path, File_Type::DIRECTORY);
  return true;
}

bool Planning_Filesystem::files_equal(const Path& first, const Path& second) {
  const auto text = text_of_(first);
  return text && text == text_of_(second) && has_common_access(first) && has_common_access(second);
}

File_Type Planning_Filesystem::type_of(const Path& path) {
  return planned_type_(path);
}

std::vector<Path> Planning_Filesystem::list_entries(const Path& directory) {
  return planned_entries_(directory);
}

// Files alone: the library's own operations move nothing.
bool Planning_Filesystem::move(const Path& from, const Path& to) {
  return copy_file(from, to, velmora::Copy_Option::OVERWRITE_EXISTING) && remove(from);
}

bool Planning_Filesystem::has_common_access(const Path& path) {
  return entries_.contains(normal(path)) || real().has_common_access(path);
}

bool Planning_Filesystem::is_scratch_(const Path& path) const {
  return lies_in(normal(path), scratch_);
}

// Whether an entry here, or above it, hides what really stands at the path.
bool Planning_Filesystem::is_covered_(const Path& path) const {
  for (Path place = normal(path); !place.empty(); place = place.parent_path()) {
    if (entries_.contains(place)) {
      return true;
    }
  }
  return false;
}

// Whether the directory above lists the path, which it does for a link that leads nowhere too.
bool Planning_Filesystem::has_entry_(const Path& path) const {
  if (planned_type_(path) != File_Type::NONE) {
    return true;
  }
  const Path directory = parent_of(normal(path));
  const auto entries = is_covered_(path) ? std::vector<Path>{} : real().list_entries(directory);
  return std::find(entries.begin(), entries.end(), directory / normal(path).filename()) != entries.end();
}

File_Type Planning_Filesystem::planned_type_(const Path& path) const {
  if (const auto entry = entries_.find(normal(path)); entry != entries_.end()) {
    return entry->second.type;
  }
  return is_covered_(path) ? File_Type::NONE : real().type_of(path);
}

std::vector<Path> Planning_Filesystem::planned_entries_(const Path& directory) const {
  const auto real_entries = is_covered_(directory) ? std::vector<Path>{} : real().list_entries(directory);
  std::set<Path> found(real_entries.begin(), real_entries.end());
  for (const auto& [path, entry] : entries_) {
    if (parent_of(path) != normal(directory)) {
      continue;
    }
    if (entry.type == File_Type::NONE) {
      found.erase(directory / path.filename());
    } else {
      found.insert(directory / path.filename());
    }
  }
  return {found.begin(), found.end()};
}

std::optional<std::string> Planning_Filesystem::text_of_(const Path& path) const {
  if (planned_type_(path) != File_Type::FILE) {
    return std::nullopt;
  }
  const auto entry = entries_.find(normal(path));
  return entry != entries_.end() ? entry->second.text
                                 : real().read_file(path, velmora::Read_Flag::WHOLE_TEXT);
}

void Planning_Filesystem::cover_(const Path& path, File_Type type, const std::string& text) {
  entries_[normal(path)] = {type, text};
}

void Planning_Filesystem::remove_entry_(const Path& path) {
  const Path place = normal(path);
  std::erase_if(entries_, [&place](const auto& entry) { return lies_in(entry.first, place); });
  // What really stands there, if anything, shows again now.
  if (has_entry_(place)) {
    cover_(place, File_Type::NONE);
  }
}

}  // namespace zant::velmora_host
