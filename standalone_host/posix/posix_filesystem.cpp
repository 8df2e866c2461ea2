#include <standalone_host/posix/posix_filesystem.hpp>

#include <standalone_host/posix/input_file.hpp>
#include <standalone_host/posix/replacement_file.hpp>
#include <standalone_host/posix/system_error.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <system_error>

namespace zant::velmora::standalone_host {
namespace {

using zant::logging::severity_level;

constexpr mode_t DIRECTORY_MODE = 0755;

bool means_missing(const std::error_code& code) {
  return code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory;
}

bool means_missing(const boost::system::error_code& code) {
  return code == boost::system::errc::no_such_file_or_directory ||
         code == boost::system::errc::not_a_directory;
}

void strip_line_end(std::string& text) {
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  if (text.ends_with('\r')) {
    text.pop_back();
  }
}

}  // namespace

const char* const Posix_Filesystem::TEMPORARY_EXTENSION = Replacement_File::EXTENSION;

Posix_Filesystem::Posix_Filesystem() {
  log_.init_("Posix_Filesystem", "");
}

bool Posix_Filesystem::remove(const Path& path) {
  if (std::remove(path.c_str()) == 0) {
    return true;
  }
  if (const int error_number = errno; error_number != ENOENT && error_number != ENOTDIR) {
    log_failure_("remove", path, error_text(error_number));
  }
  return false;
}

void Posix_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
      log_failure_("remove", path, error_text(errno));
    }
  }
}

void Posix_Filesystem::remove_all(const Path& path) {
  boost::system::error_code error;
  boost::filesystem::remove_all(path, error);
  if (error && !means_missing(error)) {
    log_failure_("remove", path, error.message());
  }
}

bool Posix_Filesystem::exists(const Path& path) {
  boost::system::error_code error;
  const bool found = boost::filesystem::exists(path, error);
  if (error && !means_missing(error)) {
    log_failure_("look for", path, error.message());
  }
  return found;
}

bool Posix_Filesystem::is_empty(const Path& path) {
  boost::system::error_code error;
  const boost::filesystem::directory_iterator entries(path, error);
  if (error) {
    if (!means_missing(error)) {
      log_failure_("list", path, error.message());
    }
    return false;
  }
  return entries == boost::filesystem::directory_iterator();
}

std::vector<Filesystem::Path> Posix_Filesystem::list_files(const Path& directory,
                                                           const std::string& extension) {
  std::vector<Path> found;
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    boost::system::error_code gone;
    if (entry->path().extension() == extension && boost::filesystem::is_regular_file(entry->path(), gone)) {
      found.push_back(entry->path());
    }
  }
  if (error && !means_missing(error)) {
    log_failure_("list", directory, error.message());
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Posix_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  if (copy_option != Copy_Option::OVERWRITE_EXISTING && exists(destination)) {
    return false;
  }
  try {
    Input_File original(source);
    Replacement_File copy(destination);
    for (auto piece = original.next_piece(); !piece.empty(); piece = original.next_piece()) {
      copy.write(piece);
    }
    copy.commit();
    return true;
  } catch (const std::system_error& error) {
    log_failure_(fmt::format("copy {} to", source.string()), destination, error.what());
    return false;
  }
}

std::size_t Posix_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                         int copy_option) {
  return static_cast<std::size_t>(std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
    return exists(source) && copy_file(source, directory / source.filename(), copy_option);
  }));
}

std::string Posix_Filesystem::read_file(const Path& path, int read_flag) {
  std::string text;
  try {
    Input_File file(path);
    for (auto piece = file.next_piece(); !piece.empty(); piece = file.next_piece()) {
      text += piece;
    }
  } catch (const std::system_error& error) {
    if (!means_missing(error.code())) {
      log_failure_("read", path, error.what());
    }
    return "";
  }
  if (read_flag == Read_Flag::WITHOUT_LINE_END) {
    strip_line_end(text);
  }
  return text;
}

bool Posix_Filesystem::write_file(const Path& path, const std::string& contents, int /*write_flag*/) {
  try {
    Replacement_File file(path);
    file.write(contents);
    file.commit();
    return true;
  } catch (const std::system_error& error) {
    log_failure_("write", path, error.what());
    return false;
  }
}

bool Posix_Filesystem::create_directories(const Path& path) {
  boost::system::error_code error;
  if (boost::filesystem::is_directory(path, error)) {
    return true;
  }
  const Path parent = path.parent_path();
  return (parent.empty() || create_directories(parent)) && make_directory_(path);
}

bool Posix_Filesystem::files_equal(const Path& first, const Path& second) {
  try {
    Input_File one(first);
    Input_File other(second);
    if (one.size() != other.size()) {
      return false;
    }
    while (true) {
      const auto piece = one.next_piece();
      if (piece != other.next_piece()) {
        return false;
      }
      if (piece.empty()) {
        return true;
      }
    }
  } catch (const std::system_error& error) {
    if (!means_missing(error.code())) {
      log_failure_(fmt::format("compare {} with", first.string()), second, error.what());
    }
    return false;
  }
}

bool Posix_Filesystem::make_directory_(const Path& path) {
  try {
    // Somebody else may have been quicker.
    if (::mkdir(path.c_str(), DIRECTORY_MODE) != 0) {
      boost::system::error_code error;
      const int error_number = errno;
      if (error_number == EEXIST && boost::filesystem::is_directory(path, error)) {
        return true;
      }
      throw_system_error("cannot create it", error_number);
    }
    if (::chmod(path.c_str(), DIRECTORY_MODE) != 0) {
      throw_system_error("cannot set its mode");
    }
    sync_directory(path.parent_path());
    return true;
  } catch (const std::system_error& error) {
    log_failure_("create the directory", path, error.what());
    return false;
  }
}

void Posix_Filesystem::log_failure_(const std::string& what, const Path& path, const std::string& reason) {
  ZANT_LOG(log_, severity_level::warning) << fmt::format("Cannot {} {}: {}", what, path.string(), reason);
}

}  // namespace zant::velmora::standalone_host
