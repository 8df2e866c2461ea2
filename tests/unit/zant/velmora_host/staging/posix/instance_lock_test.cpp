#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/posix/file_descriptor.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/host_side/denied_system_call.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

namespace zant::velmora_host {
namespace {

class InstanceLock : public ::testing::Test {
 protected:
  std::string refusal() const {
    try {
      const Instance_Lock lock(file_);
    } catch (const Refusal& refusal) {
      EXPECT_EQ(refusal.reason(), Refusal_Reason::BUSY);
      return refusal.what();
    }
    return "";
  }

  Temporary_Directory directory_;
  boost::filesystem::path file_ = directory_.path() / "lock";
};

TEST_F(InstanceLock, IsRefusedToASecondProcessWithTheFirstOnesId) {
  const Instance_Lock lock(file_);

  EXPECT_EQ(refusal(), "another package-minder (process " + std::to_string(::getpid()) +
                           ") is already running; wait until it ends, or stop it first, the service with "
                           "\"systemctl stop package-minder\"");
}

TEST_F(InstanceLock, IsFreeAgainAfterItsEnd) {
  { const Instance_Lock lock(file_); }

  EXPECT_EQ(refusal(), "");
}

TEST_F(InstanceLock, IsNotHeldByAFileThatAKilledProcessLeft) {
  std::ofstream(file_.string()) << "4194304000";

  EXPECT_EQ(refusal(), "");
}

TEST_F(InstanceLock, OfAFileThatIsGoneIsNobodysObstacle) {
  Instance_Lock lock(file_);
  lock.remove_file();

  EXPECT_EQ(refusal(), "");
}

TEST_F(InstanceLock, ThatCannotBeTakenForAnotherReasonDoesNotNameAProcess) {
  const auto lock_without_locks = [this] {
    test_support::deny_system_call(SYS_fcntl, F_OFD_SETLK, ENOLCK);
    try {
      const Instance_Lock lock(file_);
    } catch (const std::system_error& error) {
      ::_exit(error.code().value() == ENOLCK ? 0 : 1);
    } catch (...) {
      ::_exit(2);
    }
    ::_exit(3);
  };

  EXPECT_EXIT(lock_without_locks(), ::testing::ExitedWithCode(0), "");
}

TEST_F(InstanceLock, CanBeOpenedByNobodyElse) {
  std::ofstream(file_.string()) << "4194304000";
  ::chmod(file_.c_str(), 0644);

  const Instance_Lock lock(file_);

  struct stat status {};
  ASSERT_EQ(::stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

// Locks the file as a user can who may read it.
void lock_to_read(int descriptor) {
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  ASSERT_EQ(::fcntl(descriptor, F_OFD_SETLK, &lock), 0);
}

TEST_F(InstanceLock, IsTakenFromAUserWhoLockedTheFileOfAnEarlierVersion) {
  std::ofstream(file_.string()) << "4194304000";
  ::chmod(file_.c_str(), 0644);
  const File_Descriptor users(::open(file_.c_str(), O_RDONLY | O_CLOEXEC));
  lock_to_read(users.get());

  const Instance_Lock lock(file_);

  EXPECT_EQ(Instance_Lock::find_holder(file_), std::to_string(::getpid()));
}

TEST_F(InstanceLock, IsNotTakenFromARunningEarlierVersion) {
  std::ofstream(file_.string()) << ::getpid();
  ::chmod(file_.c_str(), 0644);
  const File_Descriptor running(::open(file_.c_str(), O_RDONLY | O_CLOEXEC));
  lock_to_read(running.get());

  EXPECT_NE(refusal(), "");
}

TEST_F(InstanceLock, IsNoFifo) {
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);

  EXPECT_THROW(Instance_Lock{file_}, std::system_error);
}

TEST_F(InstanceLock, NamesItsHolderToThoseWhoAsk) {
  const Instance_Lock lock(file_);

  EXPECT_EQ(Instance_Lock::find_holder(file_), std::to_string(::getpid()));
}

TEST_F(InstanceLock, HasNoHolderBeforeAndAfterIt) {
  EXPECT_EQ(Instance_Lock::find_holder(file_), "");
  EXPECT_EQ(Instance_Lock::find_holder(directory_.path() / "missing" / "lock"), "");
  EXPECT_FALSE(boost::filesystem::exists(file_)) << "asking creates nothing";

  { const Instance_Lock lock(file_); }

  EXPECT_EQ(Instance_Lock::find_holder(file_), "");
}

TEST_F(InstanceLock, HasAnUnknownHolderWhenTheFileIsEmpty) {
  const Instance_Lock lock(file_);
  boost::filesystem::resize_file(file_, 0);

  EXPECT_EQ(Instance_Lock::find_holder(file_), "unknown");
}

TEST_F(InstanceLock, OfAFileThatMayNotBeOpenedIsAFailureAndNotNobody) {
  boost::filesystem::create_symlink("elsewhere", file_);

  EXPECT_THROW(Instance_Lock::find_holder(file_), std::system_error);
}

TEST_F(InstanceLock, WhereNoFileCanBeMadeSaysWhy) {
  const auto lock_elsewhere = [this] { const Instance_Lock lock(directory_.path() / "missing" / "lock"); };

  EXPECT_THROW(lock_elsewhere(), std::system_error);
}

TEST_F(InstanceLock, DoesNotFollowALink) {
  std::ofstream((directory_.path() / "precious").string()) << "text";
  boost::filesystem::create_symlink("precious", file_);

  EXPECT_THROW(Instance_Lock{file_}, std::system_error);

  EXPECT_EQ(boost::filesystem::file_size(directory_.path() / "precious"), 4U);
}

}  // namespace
}  // namespace zant::velmora_host
