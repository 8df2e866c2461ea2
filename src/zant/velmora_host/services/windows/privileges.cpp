#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/windows/handle.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace zant::velmora_host::privileges {
namespace {

using Local_Memory = std::unique_ptr<void, decltype(&::LocalFree)>;

constexpr DWORD RIGHTS_TO_CHANGE = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_DELETE_CHILD | DELETE |
                                   WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

// The account that owns the files of Windows itself; it has no well-known number.
constexpr const wchar_t* TRUSTED_INSTALLER =
    L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

// A security identifier of ours.
class Known_Sid {
 public:
  explicit Known_Sid(WELL_KNOWN_SID_TYPE type) : bytes_(SECURITY_MAX_SID_SIZE) {
    DWORD size = SECURITY_MAX_SID_SIZE;
    if (::CreateWellKnownSid(type, nullptr, bytes_.data(), &size) == FALSE) {
      throw_win32_error("cannot name an account of the system");
    }
  }

  PSID get() const { return const_cast<std::byte*>(bytes_.data()); }

 private:
  std::vector<std::byte> bytes_;
};

bool is_trusted_installer(PSID sid) {
  wchar_t* text = nullptr;
  if (::ConvertSidToStringSidW(sid, &text) == FALSE) {
    return false;
  }
  const Local_Memory owner(text, &::LocalFree);
  return std::wstring_view(text) == TRUSTED_INSTALLER;
}

bool is_this_user(PSID sid) {
  HANDLE token = nullptr;
  if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
    return false;
  }
  const Handle owner(token);
  alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> buffer;
  DWORD size = 0;
  return ::GetTokenInformation(token, TokenUser, buffer.data(), static_cast<DWORD>(buffer.size()), &size) !=
             FALSE &&
         ::EqualSid(sid, reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid) != FALSE;
}

bool is_trusted(PSID sid) {
  // Creator owner stands for the user who creates an entry later, and for no user now.
  for (const auto type : {WinLocalSystemSid, WinBuiltinAdministratorsSid, WinCreatorOwnerSid}) {
    if (::IsWellKnownSid(sid, type) != FALSE) {
      return true;
    }
  }
  return is_trusted_installer(sid) || is_this_user(sid);
}

std::string name_of(PSID sid) {
  std::array<wchar_t, 256> name{};
  std::array<wchar_t, 256> domain{};
  auto name_size = static_cast<DWORD>(name.size());
  auto domain_size = static_cast<DWORD>(domain.size());
  SID_NAME_USE use = SidTypeUnknown;
  if (::LookupAccountSidW(nullptr, sid, name.data(), &name_size, domain.data(), &domain_size, &use) ==
      FALSE) {
    return "an unknown account";
  }
  return "the account " + boost::nowide::narrow(name.data());
}

// Null when the entry gives no other account the right to change anything.
PSID who_is_let_in(const void* entry) {
  const auto* const header = static_cast<const ACE_HEADER*>(entry);
  if (header->AceType != ACCESS_ALLOWED_ACE_TYPE || (header->AceFlags & INHERIT_ONLY_ACE) != 0) {
    return nullptr;
  }
  const auto* const allowed = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
  const PSID sid = const_cast<DWORD*>(&allowed->SidStart);
  return (allowed->Mask & RIGHTS_TO_CHANGE) != 0 && !is_trusted(sid) ? sid : nullptr;
}

std::string find_foreign_writer(const ACL& list) {
  for (DWORD index = 0; index < list.AceCount; ++index) {
    void* entry = nullptr;
    if (::GetAce(const_cast<ACL*>(&list), index, &entry) == FALSE) {
      continue;
    }
    if (const PSID sid = who_is_let_in(entry); sid != nullptr) {
      return "may be changed by " + name_of(sid);
    }
  }
  return "";
}

}  // namespace

const char* const HOW_TO_BE_ADMINISTRATOR = "run it in an administrator's prompt (\"Run as administrator\")";

bool may_administer() {
  const Known_Sid administrators(WinBuiltinAdministratorsSid);
  BOOL is_member = FALSE;
  // Not what the account could do, but what this process may do: an administrator's ordinary prompt may not.
  return ::CheckTokenMembership(nullptr, administrators.get(), &is_member) != FALSE && is_member != FALSE;
}

std::string who_else_may_write(const boost::filesystem::path& path) {
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD code = ::GetNamedSecurityInfoW(const_cast<wchar_t*>(path.c_str()), SE_FILE_OBJECT,
                                             OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                                             nullptr, &list, nullptr, &descriptor);
  if (code != ERROR_SUCCESS) {
    return "cannot be examined: " + win32_error_text(code);
  }
  const Local_Memory keeper(descriptor, &::LocalFree);
  if (!is_trusted(owner)) {
    return "belongs to " + name_of(owner) + ", who may change it";
  }
  return list == nullptr ? "may be changed by everybody" : find_foreign_writer(*list);
}

}  // namespace zant::velmora_host::privileges
