#include <zant/velmora_host/services/privileges.hpp>

#include <windows/scratch_directory.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

using namespace zant::velmora_host;
using namespace zant::velmora_host::test_support;
using testing::StartsWith;

namespace {

class WindowsPrivileges : public testing::Test {
 protected:
  WindowsPrivileges() { write(file, "x"); }

  // Sets the file's access list, in the language of security descriptors.
  void set_access(const wchar_t* text) { set_access(text, file); }

  static void set_access(const wchar_t* text, const boost::filesystem::path& entry) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    PACL list = nullptr;
    BOOL is_present = FALSE;
    BOOL is_default = FALSE;
    ASSERT_TRUE(
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor, nullptr));
    ASSERT_TRUE(::GetSecurityDescriptorDacl(descriptor, &is_present, &list, &is_default));
    std::wstring path = entry.wstring();
    EXPECT_EQ(::SetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT,
                                      DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                      nullptr, nullptr, list, nullptr),
              static_cast<DWORD>(ERROR_SUCCESS));
    ::LocalFree(descriptor);
  }

  Scratch_Directory directory;
  const boost::filesystem::path file = directory / "file";
};

TEST_F(WindowsPrivileges, FindsNobodyWhenOnlyAdministratorsMayWrite) {
  set_access(L"D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;GR;;;WD)");

  EXPECT_EQ(privileges::who_else_may_write(file), "");
}

TEST_F(WindowsPrivileges, NamesWhoElseMayWrite) {
  set_access(L"D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;GRGW;;;WD)");

  EXPECT_THAT(privileges::who_else_may_write(file), StartsWith("may be changed by the account "));
}

TEST_F(WindowsPrivileges, NamesADirectoryAboveInWhichOthersMayReplaceIt) {
  const boost::filesystem::path inner = directory / "inner";
  boost::filesystem::create_directory(inner);
  const boost::filesystem::path below = inner / "file";
  write(below, "x");
  set_access(L"D:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;FA;;;WD)", inner);

  EXPECT_THAT(privileges::who_else_may_write(below), testing::HasSubstr("may be changed by the account "));
  EXPECT_THAT(privileges::who_else_may_write_what_is_there(inner / "missing" / "file"),
              StartsWith("can be replaced: "));
}

TEST_F(WindowsPrivileges, SaysSoWhenThereIsNothingToExamine) {
  EXPECT_THAT(privileges::who_else_may_write(directory / "missing"), StartsWith("cannot be examined: "));
}

}  // namespace
