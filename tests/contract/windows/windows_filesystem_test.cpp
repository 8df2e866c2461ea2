#include "../filesystem_contract.hpp"

#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/services/windows/windows_filesystem.hpp>

namespace zant::velmora_host {
namespace {

class Windows_Host {
 public:
  velmora::Filesystem& filesystem() { return filesystem_; }
  boost::filesystem::path root() const { return directory_.path(); }

 private:
  Temporary_Directory directory_;
  Windows_Filesystem filesystem_;
};

}  // namespace
}  // namespace zant::velmora_host

namespace zant::velmora {

INSTANTIATE_TYPED_TEST_SUITE_P(Windows, FilesystemContract, velmora_host::Windows_Host);

}  // namespace zant::velmora
