#include <zant/velmora_host/settings/windows/program_data.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <windows.h>

#include <initguid.h>
#include <knownfolders.h>
#include <shlobj.h>

#include <memory>

namespace zant::velmora_host {

boost::filesystem::path program_data() {
  wchar_t* path = nullptr;
  const HRESULT result = ::SHGetKnownFolderPath(FOLDERID_ProgramData, KF_FLAG_DEFAULT, nullptr, &path);
  const std::unique_ptr<wchar_t, decltype(&::CoTaskMemFree)> owner(path, &::CoTaskMemFree);
  if (FAILED(result)) {
    throw_win32_error("cannot find the directory for the data of programs", static_cast<DWORD>(result));
  }
  return path;
}

boost::filesystem::path own_program_data() {
  return program_data() / "package-minder";
}

}  // namespace zant::velmora_host
