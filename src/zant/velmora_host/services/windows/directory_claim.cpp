#include <windows.h>

#include <zant/velmora_host/services/directory_claim.hpp>

#include <zant/velmora_host/services/windows/handle.hpp>

namespace zant::velmora_host {

// A file in the directory, which goes when it is closed, and which nobody else can open until then.
std::shared_ptr<void> claim_directory(const boost::filesystem::path& directory) {
  constexpr DWORD SHARED_WITH_NOBODY = 0;
  auto file = std::make_shared<Handle>(::CreateFileW((directory / "claim").c_str(), GENERIC_WRITE | DELETE,
                                                     SHARED_WITH_NOBODY, nullptr, OPEN_ALWAYS,
                                                     FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  return file->is_open() ? file : nullptr;
}

}  // namespace zant::velmora_host
