#include <zant/velmora_host/services/windows/input_file.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <array>

namespace zant::velmora_host {

Input_File::Input_File(const boost::filesystem::path& path)
    : file_(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {
  if (!file_.is_open()) {
    throw_win32_error("cannot open it");
  }
}

std::string Input_File::read_all() {
  std::string text;
  std::array<char, 64 * 1024> buffer;
  DWORD size = 0;
  do {
    if (::ReadFile(file_.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &size, nullptr) == FALSE) {
      throw_win32_error("cannot read it");
    }
    text.append(buffer.data(), size);
  } while (size != 0);
  return text;
}

}  // namespace zant::velmora_host
