#include <support/fake_filesystem.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora::test_support {
namespace {

std::string key(const Filesystem::Path& path) {
  return path.lexically_normal().generic_string();
}

std::string listed(const std::vector<Filesystem::Path>& paths) {
  std::string text;
  for (const auto& path : paths) {
    text += (text.empty() ? "" : ", ") + path.generic_string();
  }
  return "[" + text + "]";
}

std::string numbered(int value) {
  return " (" + std::to_string(value) + ")";
}

bool lies_below(const std::string& path, const std::string& directory) {
  return path.starts_with(directory == "/" ? directory : directory + "/");
}

}  // namespace

Fake_Filesystem::Fake_Filesystem(std::shared_ptr<Call_Journal> journal) : journal_(std::move(journal)) {}

void Fake_Filesystem::add_file(const Path& path, const std::string& contents) {
  add_directory(path.parent_path());
  files_[key(path)] = contents;
}

void Fake_Filesystem::add_directory(const Path& path) {
  for (Path directory = path; !directory.empty(); directory = directory.parent_path()) {
    directories_.insert(key(directory));
  }
}

void Fake_Filesystem::make_private(const Path& directory) {
  private_directories_.insert(key(directory));
}

void Fake_Filesystem::set_mode(const Path& path, unsigned int mode) {
  modes_[key(path)] = mode;
}

unsigned int Fake_Filesystem::mode_of(const Path& path) const {
  constexpr unsigned int FILE_MODE = 0644;
  constexpr unsigned int DIRECTORY_MODE = 0755;
  const auto mode = modes_.find(key(path));
  return mode != modes_.end() ? mode->second : has_directory(path) ? DIRECTORY_MODE : FILE_MODE;
}

std::optional<std::string> Fake_Filesystem::contents(const Path& path) const {
  const auto file = files_.find(key(path));
  return file == files_.end() ? std::nullopt : std::optional(file->second);
}

bool Fake_Filesystem::has(const Path& path) const {
  return files_.contains(key(path)) || directories_.contains(key(path));
}

bool Fake_Filesystem::has_directory(const Path& path) const {
  return is_directory_(key(path));
}

std::vector<Filesystem::Path> Fake_Filesystem::entries(const Path& directory) const {
  std::set<Path> found;
  const auto add_if_entry = [&](const Path& path) {
    if (path.has_parent_path() && path.parent_path() == Path(key(directory))) {
      found.insert(directory / path.filename());
    }
  };
  std::for_each(directories_.begin(), directories_.end(), add_if_entry);
  std::for_each(files_.begin(), files_.end(), [&](const auto& file) { add_if_entry(file.first); });
  return {found.begin(), found.end()};
}

bool Fake_Filesystem::move(const Path& from, const Path& to) {
  const std::string operation = "move " + from.generic_string() + " -> " + to.generic_string();
  const auto failure = failures_.find(operation);
  const bool goes_well = failure == failures_.end() || --failure->second != 0;
  if (!goes_well || !has(from) || !is_directory_(key(to.parent_path())) ||
      (is_directory_(key(to)) && has_entries_(key(to)))) {
    return false;
  }
  const auto renamed = [&](const std::string& name) { return key(to) + name.substr(key(from).size()); };
  const auto goes = [&](const std::string& name) { return name == key(from) || lies_below(name, key(from)); };
  files_.erase(key(to));
  std::map<std::string, std::string> files;
  for (const auto& [name, text] : files_) {
    files[goes(name) ? renamed(name) : name] = text;
  }
  std::set<std::string> directories;
  for (const auto& name : directories_) {
    directories.insert(goes(name) ? renamed(name) : name);
  }
  files_ = std::move(files);
  directories_ = std::move(directories);
  return true;
}

void Fake_Filesystem::fail(const std::string& operation, int nth) {
  failures_[operation] = nth;
}

void Fake_Filesystem::during(const std::string& operation, std::function<void()> action) {
  actions_[operation] = std::move(action);
}

void Fake_Filesystem::fail_copies_of(const Path& source) {
  uncopyable_.insert(key(source));
}

bool Fake_Filesystem::remove(const Path& path) {
  if (!record_("remove " + path.generic_string())) {
    return false;
  }
  if (is_directory_(key(path))) {
    return !has_entries_(key(path)) && directories_.erase(key(path)) == 1;
  }
  return files_.erase(key(path)) == 1;
}

void Fake_Filesystem::remove(const std::vector<Path>& paths) {
  if (!record_("remove " + listed(paths))) {
    return;
  }
  for (const auto& path : paths) {
    files_.erase(key(path));
  }
}

void Fake_Filesystem::remove_all(const Path& path) {
  if (!record_("remove_all " + path.generic_string())) {
    return;
  }
  const auto goes = [&path](const std::string& name) {
    return name == key(path) || lies_below(name, key(path));
  };
  std::erase_if(files_, [&goes](const auto& file) { return goes(file.first); });
  std::erase_if(directories_, goes);
}

bool Fake_Filesystem::exists(const Path& path) {
  return record_("exists " + path.generic_string()) && has(path);
}

bool Fake_Filesystem::is_empty(const Path& path) {
  return record_("is_empty " + path.generic_string()) && is_directory_(key(path)) && !has_entries_(key(path));
}

std::vector<Filesystem::Path> Fake_Filesystem::list_files(const Path& directory,
                                                          const std::string& extension) {
  std::vector<Path> found;
  if (!record_("list_files " + directory.generic_string() + " " + extension)) {
    return found;
  }
  for (const auto& [name, text] : files_) {
    const Path path = name;
    if (key(path.parent_path()) == key(directory) && path.extension() == extension) {
      found.push_back(path);
    }
  }
  return found;
}

bool Fake_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  const bool goes_well = record_("copy_file " + source.generic_string() + " -> " +
                                 destination.generic_string() + numbered(copy_option));
  return goes_well && copy_(source, destination, copy_option);
}

std::size_t Fake_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                        int copy_option) {
  if (!record_("copy_files " + listed(sources) + " -> " + directory.generic_string() +
               numbered(copy_option))) {
    return 0;
  }
  return static_cast<std::size_t>(
      std::count_if(sources.begin(), sources.end(), [this, &directory, copy_option](const Path& source) {
        return copy_(source, directory / source.filename(), copy_option);
      }));
}

std::string Fake_Filesystem::read_file(const Path& path, int read_flag) {
  if (!record_("read_file " + path.generic_string() + numbered(read_flag))) {
    return "";
  }
  std::string text = contents(path).value_or("");
  if (read_flag == Read_Flag::WITHOUT_LINE_END) {
    if (text.ends_with('\n')) {
      text.pop_back();
    }
    if (text.ends_with('\r')) {
      text.pop_back();
    }
  }
  return text;
}

bool Fake_Filesystem::write_file(const Path& path, const std::string& contents, int write_flag) {
  if (!record_("write_file " + path.generic_string() + numbered(write_flag)) || is_directory_(key(path)) ||
      !is_directory_(key(path.parent_path()))) {
    return false;
  }
  files_[key(path)] = contents;
  modes_.erase(key(path));
  return true;
}

bool Fake_Filesystem::create_directories(const Path& path) {
  if (!record_("create_directories " + path.generic_string())) {
    return false;
  }
  for (Path directory = path; !directory.empty(); directory = directory.parent_path()) {
    if (files_.contains(key(directory))) {
      return false;
    }
  }
  add_directory(path);
  if (is_private_(path)) {
    constexpr unsigned int PRIVATE_MODE = 0700;
    set_mode(path, PRIVATE_MODE);
  }
  return true;
}

bool Fake_Filesystem::files_equal(const Path& first, const Path& second) {
  if (!record_("files_equal " + first.generic_string() + " " + second.generic_string())) {
    return false;
  }
  return contents(first).has_value() && contents(first) == contents(second);
}

// False when the operation is one that was arranged to fail.
bool Fake_Filesystem::record_(const std::string& operation) {
  journal_->push_back(operation);
  if (const auto action = actions_.find(operation); action != actions_.end()) {
    action->second();
  }
  const auto failure = failures_.find(operation);
  return failure == failures_.end() || --failure->second != 0;
}

bool Fake_Filesystem::is_directory_(const std::string& path) const {
  return directories_.contains(path);
}

bool Fake_Filesystem::has_entries_(const std::string& directory) const {
  const auto lies_here = [&directory](const std::string& name) { return lies_below(name, directory); };
  return std::any_of(files_.begin(), files_.end(),
                     [&lies_here](const auto& file) { return lies_here(file.first); }) ||
         std::any_of(directories_.begin(), directories_.end(), lies_here);
}

bool Fake_Filesystem::is_private_(const Path& directory) const {
  return private_directories_.contains(key(directory));
}

bool Fake_Filesystem::copy_(const Path& source, const Path& destination, int copy_option) {
  const auto text = contents(source);
  const bool may_write = copy_option == Copy_Option::OVERWRITE_EXISTING || !files_.contains(key(destination));
  if (!text || uncopyable_.contains(key(source)) || !may_write || is_directory_(key(destination)) ||
      !is_directory_(key(destination.parent_path()))) {
    return false;
  }
  files_[key(destination)] = *text;
  modes_.erase(key(destination));
  if (is_private_(source.parent_path()) || is_private_(destination.parent_path())) {
    set_mode(destination, mode_of(source));
  }
  return true;
}

}  // namespace zant::velmora::test_support
