#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/windows/handle.hpp>
#include <zant/velmora_host/services/windows/open_file_privileges.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/filesystem/operations.hpp>
#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zant::velmora_host::privileges {
namespace {

using Local_Memory = std::unique_ptr<void, decltype(&::LocalFree)>;

// In a directory: to replace what is in it. To create something beside it, which users may in directories of
// the system, changes nothing that is there.
constexpr DWORD RIGHTS_TO_REPLACE = FILE_DELETE_CHILD | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
constexpr DWORD RIGHTS_TO_CHANGE = RIGHTS_TO_REPLACE | FILE_WRITE_DATA | FILE_APPEND_DATA | GENERIC_WRITE;

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

// Whose rights an entry extends, and by which. All entries have the rights in the same place.
struct Grant {
  PSID sid = nullptr;
  DWORD rights = 0;
};

PSID sid_behind_types(const ACCESS_ALLOWED_OBJECT_ACE& entry) {
  // Each type is there only if a flag says so.
  std::size_t offset = offsetof(ACCESS_ALLOWED_OBJECT_ACE, ObjectType);
  offset += (entry.Flags & ACE_OBJECT_TYPE_PRESENT) != 0 ? sizeof(GUID) : 0;
  offset += (entry.Flags & ACE_INHERITED_OBJECT_TYPE_PRESENT) != 0 ? sizeof(GUID) : 0;
  return const_cast<std::byte*>(reinterpret_cast<const std::byte*>(&entry)) + offset;
}

// A condition of a callback entry is not evaluated: whoever could meet it has the right.
Grant grant_of(const void* entry) {
  const auto* const header = static_cast<const ACE_HEADER*>(entry);
  if ((header->AceFlags & INHERIT_ONLY_ACE) != 0) {
    return {};
  }
  const auto* const allowed = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
  switch (header->AceType) {
    case ACCESS_ALLOWED_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:
      return {const_cast<DWORD*>(&allowed->SidStart), allowed->Mask};
    case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE:
      return {sid_behind_types(*static_cast<const ACCESS_ALLOWED_OBJECT_ACE*>(entry)), allowed->Mask};
    default:
      return {};
  }
}

// Null when the entry gives no other account one of the rights.
PSID who_is_let_in(const void* entry, DWORD rights) {
  const Grant grant = grant_of(entry);
  return (grant.rights & rights) != 0 && !is_trusted(grant.sid) ? grant.sid : nullptr;
}

std::string find_foreign_writer(const ACL& list, DWORD rights) {
  for (DWORD index = 0; index < list.AceCount; ++index) {
    void* entry = nullptr;
    if (::GetAce(const_cast<ACL*>(&list), index, &entry) == FALSE) {
      continue;
    }
    if (const PSID sid = who_is_let_in(entry, rights); sid != nullptr) {
      return "may be changed by " + name_of(sid);
    }
  }
  return "";
}

constexpr SECURITY_INFORMATION JUDGED_PARTS = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

// What the functions of the operating system fill.
struct Access {
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
};

std::string judge(DWORD code, const Access& access, DWORD rights) {
  if (code != ERROR_SUCCESS) {
    return "cannot be examined: " + win32_error_text(code);
  }
  const Local_Memory keeper(access.descriptor, &::LocalFree);
  if (!is_trusted(access.owner)) {
    return "belongs to " + name_of(access.owner) + ", who may change it";
  }
  return access.list == nullptr ? "may be changed by everybody" : find_foreign_writer(*access.list, rights);
}

std::string judge_entry(const boost::filesystem::path& path, DWORD rights) {
  Access access;
  const DWORD code =
      ::GetNamedSecurityInfoW(const_cast<wchar_t*>(path.c_str()), SE_FILE_OBJECT, JUDGED_PARTS, &access.owner,
                              nullptr, &access.list, nullptr, &access.descriptor);
  return judge(code, access, rights);
}

// From the directory up to the drive's root.
std::string judge_directories(boost::filesystem::path directory) {
  for (; !directory.empty(); directory = directory.parent_path()) {
    if (directory == directory.root_name()) {
      break;
    }
    if (const std::string fault = judge_entry(directory, RIGHTS_TO_REPLACE); !fault.empty()) {
      return "can be replaced: " + directory.string() + " " + fault;
    }
  }
  return "";
}

bool is_there(const boost::filesystem::path& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The path without links and junctions; empty when the system does not tell it.
boost::filesystem::path real_path(HANDLE file) {
  std::wstring path(32768, L'\0');
  const DWORD size = ::GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()),
                                                 FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
  path.resize(size < path.size() ? size : 0);
  constexpr std::wstring_view PREFIX = LR"(\\?\)";
  return path.starts_with(PREFIX) ? path.substr(PREFIX.size()) : path;
}

std::string judge_real_directories(const boost::filesystem::path& path) {
  // Nothing is read, only asked for; a directory needs the flag.
  const Handle opened(::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  return opened.is_open() ? judge_directories(real_path(opened.get()).parent_path()) : "";
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
  if (std::string fault = judge_entry(path, RIGHTS_TO_CHANGE); !fault.empty()) {
    return fault;
  }
  const std::string fault = judge_directories(boost::filesystem::absolute(path).parent_path());
  return fault.empty() ? judge_real_directories(path) : fault;
}

std::string who_else_may_write_what_is_there(const boost::filesystem::path& path) {
  if (is_there(path)) {
    return who_else_may_write(path);
  }
  boost::filesystem::path nearest = boost::filesystem::absolute(path).parent_path();
  while (nearest.has_parent_path() && !is_there(nearest)) {
    nearest = nearest.parent_path();
  }
  const std::string fault = judge_directories(nearest);
  return fault.empty() ? judge_real_directories(nearest) : fault;
}

std::string who_else_may_write(const Handle& file, const boost::filesystem::path& path) {
  Access access;
  const DWORD code = ::GetSecurityInfo(file.get(), SE_FILE_OBJECT, JUDGED_PARTS, &access.owner, nullptr,
                                       &access.list, nullptr, &access.descriptor);
  if (std::string fault = judge(code, access, RIGHTS_TO_CHANGE); !fault.empty()) {
    return fault;
  }
  const std::string fault = judge_directories(boost::filesystem::absolute(path).parent_path());
  return fault.empty() ? judge_directories(real_path(file.get()).parent_path()) : fault;
}

}  // namespace zant::velmora_host::privileges
