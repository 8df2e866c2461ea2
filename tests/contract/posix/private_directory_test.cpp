#include <zant/velmora_host/contract/private_directory_contract.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include "../filesystem_hosts.hpp"

#include <support/fake_filesystem.hpp>

#include <sys/stat.h>

#include <array>
#include <memory>
#include <string>

// A namespace of its own: other tests of the contract have hosts of the same names.
namespace zant::velmora_host::contract::private_directories {
namespace {

using boost::filesystem::path;

class Fake_Host {
 public:
  Fake_Host() {
    filesystem_.add_directory(root());
    filesystem_.make_private(private_directory());
  }

  velmora::Filesystem& filesystem() { return filesystem_; }
  path root() const { return "/somewhere"; }
  path private_directory() const { return "/somewhere/private"; }
  unsigned int mode_of(const path& place) const { return filesystem_.mode_of(place); }
  void set_mode(const path& place, unsigned int mode) { filesystem_.set_mode(place, mode); }

 private:
  velmora::test_support::Fake_Filesystem filesystem_;
};

class Disk_Host {
 public:
  path root() const { return directory_.path(); }
  path private_directory() const { return root() / "private"; }

  unsigned int mode_of(const path& place) const {
    struct stat status {};
    EXPECT_EQ(::lstat(place.c_str(), &status), 0);
    return status.st_mode & 0777U;
  }
  void set_mode(const path& place, unsigned int mode) { EXPECT_EQ(::chmod(place.c_str(), mode), 0); }

 protected:
  const std::shared_ptr<Host_Filesystem>& disk() const { return disk_; }

 private:
  Temporary_Directory directory_;
  std::shared_ptr<Host_Filesystem> disk_ = std::make_shared<File_Service>(std::vector{private_directory()});
};

using Hosts = ::testing::Types<Fake_Host, File_Service_On<Disk_Host>, Forwarding_On<Disk_Host>,
                               Observed_On<Disk_Host>, Planning_In_Scratch_On<Disk_Host>>;

// For the names of the tests.
class Host_Names {
 public:
  template <typename Host>
  static std::string GetName(int index) {
    constexpr std::array NAMES = {"Fake", "FileService", "Forwarding", "Observed", "PlanningInScratch"};
    return NAMES.at(static_cast<std::size_t>(index));
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Of, PrivateDirectoryContract, Hosts, Host_Names);

}  // namespace
}  // namespace zant::velmora_host::contract::private_directories
