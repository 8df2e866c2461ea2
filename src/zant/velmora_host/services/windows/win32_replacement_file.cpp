#include <zant/velmora_host/services/windows/win32_replacement_file.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/filesystem/operations.hpp>

#include <algorithm>

namespace zant::velmora_host {
namespace {

constexpr DWORD NOT_SHARED = 0;
constexpr std::size_t LARGEST_PIECE = std::size_t{1} << 20;

boost::filesystem::path temporary_path(const boost::filesystem::path& destination) {
  boost::filesystem::path name(L"." + destination.filename().wstring() + L".%%%%%%%%");
  return destination.parent_path() /
         boost::filesystem::unique_path(name += Win32_Replacement_File::EXTENSION);
}

}  // namespace

Win32_Replacement_File::Win32_Replacement_File(const boost::filesystem::path& destination)
    : destination_(destination), temporary_path_(temporary_path(destination)) {
  file_ = Handle(::CreateFileW(temporary_path_.c_str(), GENERIC_WRITE, NOT_SHARED, nullptr, CREATE_NEW,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file_.is_open()) {
    throw_win32_error("cannot create a file beside it");
  }
}

Win32_Replacement_File::~Win32_Replacement_File() {
  if (file_.is_open()) {
    file_.close();
    ::DeleteFileW(temporary_path_.c_str());
  }
}

void Win32_Replacement_File::write(std::string_view data) {
  while (!data.empty()) {
    DWORD size = 0;
    const auto piece = static_cast<DWORD>(std::min(data.size(), LARGEST_PIECE));
    if (::WriteFile(file_.get(), data.data(), piece, &size, nullptr) == FALSE) {
      throw_win32_error("cannot write");
    }
    data.remove_prefix(size);
  }
}

void Win32_Replacement_File::commit() {
  if (::FlushFileBuffers(file_.get()) == FALSE) {
    throw_win32_error("cannot write");
  }
  // An open file cannot be moved.
  file_.close();
  if (::MoveFileExW(temporary_path_.c_str(), destination_.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE) {
    const DWORD code = ::GetLastError();
    ::DeleteFileW(temporary_path_.c_str());
    throw_win32_error("cannot put the new file in its place", code);
  }
}

}  // namespace zant::velmora_host
