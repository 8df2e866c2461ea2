#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora_host/base/refusal.hpp>

#include <windows/scratch_directory.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace zant::velmora_host {
namespace {

class WindowsInstanceLock : public ::testing::Test {
 protected:
  std::string refusal() const {
    try {
      const Instance_Lock lock(file_);
    } catch (const Refusal& refusal) {
      return refusal.what();
    }
    return "";
  }

  test_support::Scratch_Directory directory_;
  const boost::filesystem::path file_ = directory_ / "lock";
  const std::string this_process_ = std::to_string(::GetCurrentProcessId());
};

TEST_F(WindowsInstanceLock, IsRefusedToASecondProcessWithTheFirstOnesId) {
  const Instance_Lock lock(file_);

  EXPECT_THAT(refusal(), ::testing::StartsWith("another package-minder (process " + this_process_ +
                                               ") is already running"));
}

TEST_F(WindowsInstanceLock, NamesItsHolderToThoseWhoAskAndToNobodyAfterItsEnd) {
  EXPECT_EQ(Instance_Lock::find_holder(file_), "");
  {
    const Instance_Lock lock(file_);
    EXPECT_EQ(Instance_Lock::find_holder(file_), this_process_);
  }

  EXPECT_EQ(Instance_Lock::find_holder(file_), "");
  EXPECT_EQ(refusal(), "");
}

TEST_F(WindowsInstanceLock, OfAFileThatIsGoneKeepsNobodyOut) {
  Instance_Lock lock(file_);
  lock.remove_file();

  EXPECT_FALSE(boost::filesystem::exists(file_));
  EXPECT_EQ(refusal(), "");
}

}  // namespace
}  // namespace zant::velmora_host
