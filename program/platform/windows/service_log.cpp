#include <program/platform/windows/service_log.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/privileges.hpp>
#include <zant/velmora_host/settings/windows/program_data.hpp>

#include <boost/filesystem/operations.hpp>

#include <windows.h>

#include <fcntl.h>
#include <io.h>

namespace zant::program {
namespace {

using boost::filesystem::path;

constexpr int STANDARD_ERROR = 2;
constexpr std::uintmax_t LARGEST_LOG = 1024 * 1024;

void put_grown_log_aside(const path& file) {
  boost::system::error_code error;
  if (boost::filesystem::file_size(file, error) > LARGEST_LOG && !error) {
    path old = file;
    boost::filesystem::rename(file, old += ".old", error);
  }
}

void become_standard_error(const path& file) {
  const HANDLE handle = ::CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return;
  }
  const int descriptor = ::_open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_APPEND | _O_BINARY);
  ::_dup2(descriptor, STANDARD_ERROR);
  ::_close(descriptor);
}

}  // namespace

void open_service_log() {
  const path directory = velmora_host::own_program_data();
  if (!velmora_host::File_Service().create_directories(directory) ||
      !velmora_host::privileges::who_else_may_write(directory).empty()) {
    return;
  }
  const path file = directory / "package-minder.log";
  put_grown_log_aside(file);
  become_standard_error(file);
}

}  // namespace zant::program
