#include <zant/velmora_host/contract/filesystem_contract.hpp>
#include <zant/velmora_host/contract/host_filesystem_contract.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include "filesystem_hosts.hpp"

#include <support/captured_log.hpp>
#include <support/fake_filesystem.hpp>
#include <support/host_side/fake_host_filesystem.hpp>

#include <array>
#include <memory>
#include <string>

namespace zant::velmora_host::contract {
namespace {

using boost::filesystem::path;

class Fake_Host {
 public:
  Fake_Host() { filesystem_.add_directory(root()); }

  velmora::Filesystem& filesystem() { return filesystem_; }
  path root() const { return "/somewhere"; }

 private:
  velmora::test_support::Fake_Filesystem filesystem_;
};

class Fake_Host_With_Listing {
 public:
  Fake_Host_With_Listing() { filesystem_.fake().add_directory(root()); }

  Host_Filesystem& filesystem() { return filesystem_; }
  path root() const { return "/somewhere"; }

 private:
  test_support::Fake_Host_Filesystem filesystem_;
};

// A directory on the disk of this machine. The reasons of failures are kept out of the output.
class Disk_Host {
 public:
  path root() const { return directory_.path(); }

 protected:
  const std::shared_ptr<Host_Filesystem>& disk() const { return disk_; }

 private:
  velmora::test_support::Captured_Log log_;
  Temporary_Directory directory_;
  std::shared_ptr<Host_Filesystem> disk_ = std::make_shared<File_Service>();
};

// Everything is planned: what a test begins with, too.
class Planning_Host : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return filesystem_; }

 private:
  Temporary_Directory scratch_;
  Planning_Filesystem filesystem_{disk(), scratch_.path()};
};

// What a test begins with is on the disk.
class Planning_Host_With_Files : public Planning_Host {
 public:
  Host_Filesystem& arranging_filesystem() { return *disk(); }
};

using Host_Filesystem_Hosts =
    ::testing::Types<Fake_Host_With_Listing, File_Service_On<Disk_Host>, Forwarding_On<Disk_Host>,
                     Forgiving_On<Disk_Host>, Observed_On<Disk_Host>, Planning_Host, Planning_Host_With_Files,
                     Planning_In_Scratch_On<Disk_Host>>;

// For the names of the tests.
class Host_Names {
 public:
  template <typename Host>
  static std::string GetName(int index) {
    constexpr std::array NAMES = {"FakeWithListing", "FileService", "Forwarding",        "Forgiving",
                                  "Observed",        "Planning",    "PlanningOverFiles", "PlanningInScratch"};
    return NAMES.at(static_cast<std::size_t>(index));
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FilesystemContract, Fake_Host);
INSTANTIATE_TYPED_TEST_SUITE_P(Of, FilesystemContract, Host_Filesystem_Hosts, Host_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Of, HostFilesystemContract, Host_Filesystem_Hosts, Host_Names);

}  // namespace
}  // namespace zant::velmora_host::contract
