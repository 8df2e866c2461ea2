#include <standalone_host/windows/windows_filesystem.hpp>

#include <standalone_host/windows/input_file.hpp>
#include <standalone_host/windows/protected_directory.hpp>
#include <standalone_host/windows/replacement_file.hpp>
#include <standalone_host/windows/win32_error.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <system_error>

namespace zant::velmora::standalone_host {
namespace {

using zant::logging::severity_level;

bool means_missing(DWORD code) {
  return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND || code == ERROR_INVALID_NAME ||
         code == ERROR_DIRECTORY;
}

template <typename Error_Code>
DWORD code_of(const Error_Code& error) {
  return static_cast<DWORD>(error.value());
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

Windows_Filesystem::Windows_Filesystem() {
  log_.init_("Windows_Filesystem", "");
}

bool Windows_Filesystem::remove(const Path& path) {
  boost::system::error_code error;
  const bool is_removed = boost::filesystem::remove(path, error);
  if (error && !means_missing(code_of(error))) {
    log_failure_("remove", path, win32_error_text(code_of(error)));
  }
  return is_removed;
}

void Windows_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    const DWORD code = ::DeleteFileW(path.c_str()) != FALSE ? ERROR_SUCCESS : ::GetLastError();
    if (code != ERROR_SUCCESS && !means_missing(code)) {
      log_failure_("remove", path, win32_error_text(code));
    }
  }
}

void Windows_Filesystem::remove_all(const Path& path) {
  boost::system::error_code error;
  boost::filesystem::remove_all(path, error);
  if (error && !means_missing(code_of(error))) {
    log_failure_("remove", path, win32_error_text(code_of(error)));
  }
}

bool Windows_Filesystem::exists(const Path& path) {
  boost::system::error_code error;
  const bool is_found = boost::filesystem::exists(path, error);
  if (error && !means_missing(code_of(error))) {
    log_failure_("look for", path, win32_error_text(code_of(error)));
  }
  return is_found;
}

bool Windows_Filesystem::is_empty(const Path& path) {
  boost::system::error_code error;
  const boost::filesystem::directory_iterator entries(path, error);
  if (error) {
    if (!means_missing(code_of(error))) {
      log_failure_("list", path, win32_error_text(code_of(error)));
    }
    return false;
  }
  return entries == boost::filesystem::directory_iterator();
}

std::vector<Filesystem::Path> Windows_Filesystem::list_files(const Path& directory,
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
  if (error && !means_missing(code_of(error))) {
    log_failure_("list", directory, win32_error_text(code_of(error)));
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Windows_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  if (copy_option != Copy_Option::OVERWRITE_EXISTING && exists(destination)) {
    return false;
  }
  try {
    Replacement_File copy(destination);
    copy.write(Input_File(source).read_all());
    copy.commit();
    return true;
  } catch (const std::system_error& error) {
    log_failure_(fmt::format("copy {} to", source.string()), destination, error.what());
    return false;
  }
}

std::size_t Windows_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                           int copy_option) {
  return static_cast<std::size_t>(std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
    return exists(source) && copy_file(source, directory / source.filename(), copy_option);
  }));
}

std::string Windows_Filesystem::read_file(const Path& path, int read_flag) {
  std::string text;
  try {
    text = Input_File(path).read_all();
  } catch (const std::system_error& error) {
    if (!means_missing(code_of(error.code()))) {
      log_failure_("read", path, error.what());
    }
    return "";
  }
  if (read_flag == Read_Flag::WITHOUT_LINE_END) {
    strip_line_end(text);
  }
  return text;
}

bool Windows_Filesystem::write_file(const Path& path, const std::string& contents, int /*write_flag*/) {
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

bool Windows_Filesystem::create_directories(const Path& path) {
  boost::system::error_code error;
  if (boost::filesystem::is_directory(path, error)) {
    return true;
  }
  const Path parent = path.parent_path();
  return (parent.empty() || create_directories(parent)) && make_directory_(path);
}

bool Windows_Filesystem::files_equal(const Path& first, const Path& second) {
  try {
    Input_File one(first);
    Input_File other(second);
    return one.read_all() == other.read_all();
  } catch (const std::system_error& error) {
    if (!means_missing(code_of(error.code()))) {
      log_failure_(fmt::format("compare {} with", first.string()), second, error.what());
    }
    return false;
  }
}

bool Windows_Filesystem::make_directory_(const Path& path) {
  try {
    create_protected_directory(path);
    return true;
  } catch (const std::system_error& error) {
    boost::system::error_code ignored;
    // Somebody else may have been quicker.
    if (boost::filesystem::is_directory(path, ignored)) {
      return true;
    }
    log_failure_("create the directory", path, error.what());
    return false;
  }
}

void Windows_Filesystem::log_failure_(const std::string& what, const Path& path, const std::string& reason) {
  ZANT_LOG(log_, severity_level::warning) << fmt::format("Cannot {} {}: {}", what, path.string(), reason);
}

}  // namespace zant::velmora::standalone_host
