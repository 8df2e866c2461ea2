#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <windows.h>

#include <sddl.h>

#include <memory>

namespace zant::velmora_host {
namespace {

// P: nothing is inherited from above. OICI: files and directories below get the same. FA: everything, GRGX:
// read and enter. SY: the system, BA: the administrators, BU: users.
constexpr const wchar_t* ACCESS = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;GRGX;;;BU)";

}  // namespace

void create_protected_directory(const boost::filesystem::path& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(ACCESS, SDDL_REVISION_1, &descriptor, nullptr) ==
      FALSE) {
    throw_win32_error("cannot set its access rights");
  }
  const std::unique_ptr<void, decltype(&::LocalFree)> owner(descriptor, &::LocalFree);
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), descriptor, FALSE};
  if (::CreateDirectoryW(path.c_str(), &attributes) == FALSE) {
    throw_win32_error("cannot create it");
  }
}

}  // namespace zant::velmora_host
