#include <zant/velmora_host/services/privileges.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
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

TEST_F(Privileges, ToAdministerAreRootsAlone) {
  EXPECT_EQ(privileges::may_administer(), ::geteuid() == 0);
}

}  // namespace
}  // namespace zant::velmora_host
