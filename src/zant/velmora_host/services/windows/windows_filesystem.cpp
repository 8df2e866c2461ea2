#include <zant/velmora_host/services/windows/windows_filesystem.hpp>

#include <zant/velmora_host/services/windows/input_file.hpp>
#include <zant/velmora_host/services/windows/protected_directory.hpp>
#include <zant/velmora_host/services/windows/replacement_file.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/filesystem/operations.hpp>

#include <system_error>

namespace zant::velmora_host {

Windows_Filesystem::Windows_Filesystem() : Disk_Filesystem("Windows_Filesystem") {}

bool Windows_Filesystem::remove(const Path& path) {
  boost::system::error_code error;
  const bool is_removed = boost::filesystem::remove(path, error);
  if (error) {
    log_unless_missing_("remove", path, error.value());
  }
  return is_removed;
}

void Windows_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    if (::DeleteFileW(path.c_str()) == FALSE) {
      log_unless_missing_("remove", path, static_cast<int>(::GetLastError()));
    }
  }
}

bool Windows_Filesystem::means_missing_(int error_code) const {
  return error_code == ERROR_FILE_NOT_FOUND || error_code == ERROR_PATH_NOT_FOUND ||
         error_code == ERROR_INVALID_NAME || error_code == ERROR_DIRECTORY;
}

std::string Windows_Filesystem::error_text_(int error_code) const {
  return win32_error_text(static_cast<DWORD>(error_code));
}

std::string Windows_Filesystem::read_(const Path& path) {
  return Input_File(path).read_all();
}

void Windows_Filesystem::write_(const Path& path, const std::string& contents) {
  Replacement_File file(path);
  file.write(contents);
  file.commit();
}

void Windows_Filesystem::copy_(const Path& source, const Path& destination) {
  write_(destination, read_(source));
}

bool Windows_Filesystem::are_equal_(const Path& first, const Path& second) {
  return read_(first) == read_(second);
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

}  // namespace zant::velmora_host
