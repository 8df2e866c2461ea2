#include "../filesystem_contract.hpp"

#include <standalone_host/platform/temporary_directory.hpp>
#include <standalone_host/windows/windows_filesystem.hpp>

namespace zant::velmora::standalone_host {
namespace {

class Windows_Host {
 public:
  Filesystem& filesystem() { return filesystem_; }
  boost::filesystem::path root() const { return directory_.path(); }

 private:
  Temporary_Directory directory_;
  Windows_Filesystem filesystem_;
};

}  // namespace
}  // namespace zant::velmora::standalone_host

namespace zant::velmora {

INSTANTIATE_TYPED_TEST_SUITE_P(Windows, FilesystemContract, standalone_host::Windows_Host);

}  // namespace zant::velmora
