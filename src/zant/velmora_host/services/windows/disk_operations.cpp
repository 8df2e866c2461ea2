#include <zant/velmora_host/services/disk_operations.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/windows/input_file.hpp>
#include <zant/velmora_host/services/windows/protected_directory.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>
#include <zant/velmora_host/services/windows/win32_replacement_file.hpp>

#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>

#include <system_error>

namespace zant::velmora_host {

const char* const File_Service::TEMPORARY_EXTENSION = Win32_Replacement_File::EXTENSION;

namespace disk {
namespace {

bool directory_exists(const Path& path) {
  boost::system::error_code ignored;
  return boost::filesystem::is_directory(path, ignored);
}

}  // namespace

std::string read(const Path& path) {
  return Input_File(path).read_all();
}

void write(const Path& path, const std::string& contents) {
  Win32_Replacement_File file(path);
  file.write(contents);
  file.commit();
}

// A file has the access of its directory, which administrators and the system alone can change.
void copy(const Path& source, const Path& destination, Access /*access*/) {
  write(destination, read(source));
}

bool are_equal(const Path& first, const Path& second) {
  return read(first) == read(second);
}

void move(const Path& from, const Path& to) {
  if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE) {
    throw_win32_error("cannot rename it");
  }
}

void remove_file(const Path& path) {
  if (::DeleteFileW(path.c_str()) == FALSE) {
    throw_win32_error("cannot delete it");
  }
}

void remove(const Path& path) {
  const BOOL is_removed =
      directory_exists(path) ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str());
  if (is_removed == FALSE) {
    throw_win32_error("cannot delete it");
  }
}

void remove_all(const Path& path) {
  boost::system::error_code error;
  boost::filesystem::remove_all(path, error);
  if (error) {
    throw std::system_error(error.value(), std::system_category());
  }
}

void create_directory(const Path& path) {
  try {
    create_protected_directory(path);
  } catch (const std::system_error&) {
    // Another process may have created it meanwhile.
    if (!directory_exists(path)) {
      throw;
    }
  }
}

// No family keeps copies of an administrator's files there.
void create_private_directory(const Path& path) {
  disk::create_directory(path);
}

bool has_common_access(const Path& /*path*/) {
  return true;
}

std::string stamp_of(const Path& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) == FALSE) {
    return "";
  }
  return fmt::format("{} {} {} {} {}", data.dwFileAttributes, data.nFileSizeHigh, data.nFileSizeLow,
                     data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
}

bool means_missing(int error_code) {
  return error_code == ERROR_FILE_NOT_FOUND || error_code == ERROR_PATH_NOT_FOUND ||
         error_code == ERROR_INVALID_NAME || error_code == ERROR_DIRECTORY;
}

// A directory cannot be opened like a file.
bool means_no_file(int error_code) {
  return error_code == ERROR_ACCESS_DENIED;
}

std::string error_text(int error_code) {
  return win32_error_text(static_cast<DWORD>(error_code));
}

}  // namespace disk
}  // namespace zant::velmora_host
