#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <memory>

namespace zant::velmora_host {
namespace {

// P: nothing is inherited from above. OICI: files and directories below get the same. FA: everything, GRGX:
// read and enter. SY: the system, BA: the administrators, BU: users.
constexpr const wchar_t* ACCESS = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;GRGX;;;BU)";
constexpr const wchar_t* PRIVATE_ACCESS = L"D:P(A;;FA;;;SY)(A;;FA;;;BA)";

using Descriptor = std::unique_ptr<void, decltype(&::LocalFree)>;

Descriptor make_descriptor(const wchar_t* access) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(access, SDDL_REVISION_1, &descriptor, nullptr) ==
      FALSE) {
    throw_win32_error("cannot set its access rights");
  }
  return {descriptor, &::LocalFree};
}

}  // namespace

void make_private(const Handle& file) {
  const Descriptor descriptor = make_descriptor(PRIVATE_ACCESS);
  PACL list = nullptr;
  BOOL is_present = FALSE;
  BOOL is_default = FALSE;
  if (::GetSecurityDescriptorDacl(descriptor.get(), &is_present, &list, &is_default) == FALSE) {
    throw_win32_error("cannot set its access rights");
  }
  const DWORD code = ::SetSecurityInfo(file.get(), SE_FILE_OBJECT,
                                       DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                       nullptr, nullptr, list, nullptr);
  if (code != ERROR_SUCCESS) {
    throw_win32_error("cannot set its access rights", code);
  }
}

void create_protected_directory(const boost::filesystem::path& path) {
  const Descriptor descriptor = make_descriptor(ACCESS);
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), descriptor.get(), FALSE};
  if (::CreateDirectoryW(path.c_str(), &attributes) == FALSE) {
    throw_win32_error("cannot create it");
  }
}

}  // namespace zant::velmora_host
