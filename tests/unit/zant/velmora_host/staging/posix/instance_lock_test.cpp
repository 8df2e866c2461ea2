#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <unistd.h>

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
