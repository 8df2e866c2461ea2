#include <zant/velmora_host/contract/filesystem_contract.hpp>
#include <zant/velmora_host/contract/host_filesystem_contract.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/captured_log.hpp>
#include <support/host_side/rooted_filesystem.hpp>

namespace zant::velmora_host::contract {
namespace {

class Rooted_Host {
 public:
  Rooted_Host() { filesystem_.create_directories(root()); }

  Host_Filesystem& filesystem() { return filesystem_; }
  boost::filesystem::path root() const { return "/etc/somewhere"; }

 private:
  velmora::test_support::Captured_Log log_;
  Temporary_Directory directory_;
  test_support::Rooted_Filesystem filesystem_{directory_.path()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Rooted, FilesystemContract, Rooted_Host);
INSTANTIATE_TYPED_TEST_SUITE_P(Rooted, HostFilesystemContract, Rooted_Host);

TEST(RootedFilesystem, SeesNothingOfThisMachine) {
  const Temporary_Directory directory;
  test_support::Rooted_Filesystem files(directory.path());

  EXPECT_FALSE(files.exists("/etc/passwd"));
  EXPECT_FALSE(files.exists("/usr/bin"));
  EXPECT_EQ(files.read_file("/proc/self/comm", velmora::Read_Flag::WHOLE_TEXT), "");
}

}  // namespace
}  // namespace zant::velmora_host::contract
