#include <zant/velmora_host/staging/state_directory.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/disk_operations.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

namespace zant::velmora_host::state_directory {
namespace {

using boost::filesystem::path;

constexpr const char* LOCK = "lock";
constexpr const char* RECORD = "last-cycle.json";
constexpr const char* SETTINGS_IN_FORCE = "settings-in-force.json";

constexpr const char* ROOTS_ALONE =
    "the state directory must belong to root alone and be writable, or "
    "minder.state_directory must name another one";
constexpr const char* MARK_TEXT =
    "This directory is package-minder's, which replaces and deletes files in it.\n";

// What cannot be looked at is not missing.
bool is_file(const path& file) {
  boost::system::error_code error;
  const auto type = boost::filesystem::symlink_status(file, error).type();
  throw_if_passing(error, "look for", file);
  return type == boost::filesystem::regular_file;
}

bool is_own_name(const std::string& name) {
  static const std::set<std::string> own = {MARK, LOCK, "staging", "staging.new", RECORD, SETTINGS_IN_FORCE};
  return own.contains(name) || (name.starts_with('.') && name.ends_with(File_Service::TEMPORARY_EXTENSION));
}

// What mkfs puts into each new file system.
bool is_of_file_system(const std::string& name) {
  return name == "lost+found";
}

struct Contents {
  bool is_empty = true;
  std::optional<std::string> foreign_name;  // of the first entry that is not ours
};

Contents contents_of(const Settings& settings) {
  const path directory = settings.state_directory();
  Contents contents;
  std::set<std::string> foreign;
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (is_of_file_system(name)) {
      continue;
    }
    contents.is_empty = false;
    if (!is_own_name(name) && entry->path() != settings.metrics_file()) {
      foreign.insert(name);
    }
  }
  throw_if_passing(error, "list", directory);
  if (!foreign.empty()) {
    contents.foreign_name = *foreign.begin();
  }
  return contents;
}

// Whoever else has a file named "lock" has no process id in it.
bool is_lock_of_ours(const path& file) {
  if (!is_file(file)) {
    return false;
  }
  std::istringstream stream(disk::read(file));
  std::string text;
  std::getline(stream, text);
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](unsigned char character) { return std::isdigit(character) != 0; });
}

// Version 1.0 set no mark, but locked the directory before it wrote anything.
bool is_of_earlier_version(const path& directory) {
  return directory == path(host_defaults::directories().state) || is_lock_of_ours(directory / LOCK) ||
         is_file(directory / RECORD);
}

bool is_ours(const Settings& settings) {
  const path directory = settings.state_directory();
  if (is_file(directory / MARK)) {
    return true;
  }
  const Contents contents = contents_of(settings);
  return contents.is_empty || (!contents.foreign_name && is_of_earlier_version(directory));
}

Findings not_ours(const Settings& settings) {
  const path directory = settings.state_directory();
  const auto foreign = contents_of(settings).foreign_name;
  const std::string what =
      foreign ? fmt::format("holds {}, and no file {} that would say that the directory is package-minder's",
                            printable(*foreign), MARK)
              : fmt::format("is not empty, and holds no file {} that would say that it is package-minder's",
                            MARK);
  return {{directory.string(), what,
           fmt::format("name a directory for package-minder alone with minder.state_directory; if it is this "
                       "one, create the file {}",
                       (directory / MARK).string()),
           "state.not_ours"}};
}

bool can_be_created(const path& directory) {
  boost::system::error_code ignored;
  path nearest = directory;
  while (nearest.has_parent_path() && !boost::filesystem::exists(nearest, ignored)) {
    nearest = nearest.parent_path();
  }
  return boost::filesystem::is_directory(nearest, ignored);
}

Findings not_creatable(const path& directory) {
  return {
      {directory.string(), "the state directory cannot be created", ROOTS_ALONE, "state.not_a_directory"}};
}

void create_with_parents(const path& directory) {
  boost::system::error_code ignored;
  if (directory.empty() || boost::filesystem::is_directory(directory, ignored)) {
    return;
  }
  create_with_parents(directory.parent_path());
  disk::create_directory(directory);
}

// What may go well the next time is no fault of the settings.
template <typename Act>
void carry_out(Act act, const Findings& faults) {
  try {
    act();
  } catch (const std::system_error& error) {
    if (is_passing(error.code())) {
      throw;
    }
    refuse_if_any(faults);
  }
}

}  // namespace

Findings find_faults(const Settings& settings) {
  const path directory = settings.state_directory();
  if (!can_be_created(directory)) {
    return not_creatable(directory);
  }
  // Files are installed from here.
  if (const std::string fault = privileges::who_else_may_write_what_is_there(directory); !fault.empty()) {
    return {{directory.string(), fault, ROOTS_ALONE, "state.writable_by_others"}};
  }
  return is_ours(settings) ? Findings{} : not_ours(settings);
}

void prepare(const Settings& settings) {
  const path directory = settings.state_directory();
  refuse_if_any(find_faults(settings));
  carry_out([&directory] { create_with_parents(directory); }, not_creatable(directory));
  // In a sticky directory others may have been faster.
  refuse_if_any(find_faults(settings));
  if (!is_file(directory / MARK)) {
    carry_out([&directory] { disk::write(directory / MARK, MARK_TEXT); },
              {{directory.string(), "nothing can be written there", ROOTS_ALONE}});
  }
}

void remove(const path& directory, velmora::Filesystem& filesystem) {
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename() != MARK) {
      return;
    }
  }
  filesystem.remove(directory / MARK);
  filesystem.remove(directory);
}

}  // namespace zant::velmora_host::state_directory
