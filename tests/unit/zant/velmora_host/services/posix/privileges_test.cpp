#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace zant::velmora_host {
namespace {

class Privileges : public ::testing::Test {
 protected:
  Privileges() {
    std::ofstream(file_.string()) << "text";
    ::chmod(file_.c_str(), 0644);
  }

  Temporary_Directory directory_;
  boost::filesystem::path file_ = directory_.path() / "file";
};

TEST_F(Privileges, AreNobodyElsesForAnOrdinaryFileOfThisUsers) {
  EXPECT_EQ(privileges::who_else_may_write(file_), "");
  EXPECT_EQ(privileges::who_else_may_write(directory_.path()), "");
}

TEST_F(Privileges, AreTheOwnersWhenAnotherUserOwnsIt) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  constexpr uid_t SOMEBODY = 54321;
  constexpr gid_t UNCHANGED = static_cast<gid_t>(-1);
  ASSERT_EQ(::chown(file_.c_str(), SOMEBODY, UNCHANGED), 0);

  EXPECT_EQ(privileges::who_else_may_write(file_), "belongs to the user with id 54321, who may change it");
}

TEST_F(Privileges, AreOthersWhenTheModeSaysSo) {
  constexpr gid_t GROUP = 54321;
  if (::chown(file_.c_str(), static_cast<uid_t>(-1), GROUP) != 0) {
    GTEST_SKIP() << "only root can give a file to a group";
  }
  ::chmod(file_.c_str(), 0664);
  EXPECT_EQ(privileges::who_else_may_write(file_), "may be changed by others (mode 0664)");

  ::chmod(file_.c_str(), 0646);
  EXPECT_EQ(privileges::who_else_may_write(file_), "may be changed by others (mode 0646)");
}

TEST_F(Privileges, OfALinkAreThoseOfItsTarget) {
  ::chmod(file_.c_str(), 0666);
  boost::filesystem::create_symlink("file", directory_.path() / "link");

  EXPECT_EQ(privileges::who_else_may_write(directory_.path() / "link"),
            "may be changed by others (mode 0666)");
}

TEST_F(Privileges, OfWhatIsMissingCannotBeExamined) {
  EXPECT_EQ(privileges::who_else_may_write(directory_.path() / "missing"),
            "cannot be examined: No such file or directory");
}

TEST_F(Privileges, OfRootsGroupAreNobodyElsesUnlessAListOfRightsHidesThere) {
  if (::chown(file_.c_str(), static_cast<uid_t>(-1), 0) != 0) {
    GTEST_SKIP() << "only root can give a file to its group";
  }
  ::chmod(file_.c_str(), 0664);
  EXPECT_EQ(privileges::who_else_may_write(file_), "");

  // Version 2; owner rw, user 54321 rw, group r, mask rw, others r.
  constexpr unsigned char LIST[] = {
      2,    0, 0, 0,                          //
      0x01, 0, 6, 0, 0xff, 0xff, 0xff, 0xff,  //
      0x02, 0, 6, 0, 0x31, 0xd4, 0x00, 0x00,  //
      0x04, 0, 4, 0, 0xff, 0xff, 0xff, 0xff,  //
      0x10, 0, 6, 0, 0xff, 0xff, 0xff, 0xff,  //
      0x20, 0, 4, 0, 0xff, 0xff, 0xff, 0xff,  //
  };
  if (::setxattr(file_.c_str(), "system.posix_acl_access", LIST, sizeof(LIST), 0) != 0) {
    GTEST_SKIP() << "this file system has no access control lists";
  }
  EXPECT_EQ(privileges::who_else_may_write(file_), "may be changed by others (access control list)");
}

// A directory of somebody else's above one of root's, which is right itself.
class PrivilegesBelow : public Privileges {
 protected:
  PrivilegesBelow() {
    boost::filesystem::create_directories(inner_);
    std::ofstream((inner_ / "file").string()) << "text";
    ::chmod((inner_ / "file").c_str(), 0644);
  }

  boost::filesystem::path outer_ = directory_.path() / "outer";
  boost::filesystem::path inner_ = outer_ / "inner";
};

TEST_F(PrivilegesBelow, ADirectoryOfOthersAreTheirs) {
  ASSERT_EQ(privileges::who_else_may_write(inner_ / "file"), "");

  ::chmod(outer_.c_str(), 0777);

  EXPECT_EQ(privileges::who_else_may_write(inner_ / "file"),
            "can be replaced: " + outer_.string() + " may be changed by others (mode 0777)");
  EXPECT_EQ(privileges::who_else_may_write_what_is_there(inner_ / "missing" / "file"),
            "can be replaced: " + outer_.string() + " may be changed by others (mode 0777)");
}

TEST_F(PrivilegesBelow, ADirectoryOfAnotherUsersAreTheirs) {
  if (::chown(outer_.c_str(), 54321, static_cast<gid_t>(-1)) != 0) {
    GTEST_SKIP() << "only root can give a directory away";
  }

  EXPECT_EQ(privileges::who_else_may_write(inner_ / "file"),
            "can be replaced: " + outer_.string() + " belongs to the user with id 54321, who may change it");
}

TEST_F(PrivilegesBelow, AStickyDirectoryAreNobodyElsesForAnEntryOfRoots) {
  ::chmod(outer_.c_str(), 01777);
  EXPECT_EQ(privileges::who_else_may_write(inner_ / "file"), "");
  EXPECT_EQ(privileges::who_else_may_write_what_is_there(outer_ / "missing"), "");
  EXPECT_EQ(privileges::who_else_may_write(outer_), "may be changed by others (mode 1777)");

  if (::chown(inner_.c_str(), 54321, static_cast<gid_t>(-1)) == 0) {
    EXPECT_EQ(
        privileges::who_else_may_write(inner_ / "file"),
        "can be replaced: " + inner_.string() + " belongs to the user with id 54321, who may change it");
  }
}

TEST_F(PrivilegesBelow, ALinkAreThoseOfTheDirectoriesOnBothWays) {
  const auto link = directory_.path() / "link";
  boost::filesystem::create_symlink("outer/inner", link);
  EXPECT_EQ(privileges::who_else_may_write(link / "file"), "");
  EXPECT_EQ(privileges::who_else_may_write(link / ".." / "inner" / "." / "file"), "");

  ::chmod(outer_.c_str(), 0777);
  EXPECT_EQ(privileges::who_else_may_write(link / "file"),
            "can be replaced: " + outer_.string() + " may be changed by others (mode 0777)");

  ::chmod(outer_.c_str(), 01777);
  boost::filesystem::create_symlink(file_, outer_ / "of-another-user");
  if (::lchown((outer_ / "of-another-user").c_str(), 54321, 54321) == 0) {
    EXPECT_EQ(privileges::who_else_may_write(outer_ / "of-another-user"),
              "can be replaced: " + (outer_ / "of-another-user").string() +
                  " belongs to the user with id 54321, who may change it");
  }
}

TEST_F(PrivilegesBelow, ACircleOfLinksCannotBeExamined) {
  boost::filesystem::create_symlink("two", directory_.path() / "one");
  boost::filesystem::create_symlink("one", directory_.path() / "two");

  EXPECT_EQ(privileges::who_else_may_write(directory_.path() / "one"),
            "cannot be examined: Too many levels of symbolic links");
}

TEST_F(Privileges, ToAdministerAreRootsAlone) {
  EXPECT_EQ(privileges::may_administer(), ::geteuid() == 0);
}

}  // namespace
}  // namespace zant::velmora_host
