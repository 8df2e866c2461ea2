#include "filesystem_contract.hpp"

#include <support/fake_filesystem.hpp>

namespace zant::velmora {
namespace {

class Fake_Host {
 public:
  Fake_Host() { filesystem_.add_directory(root()); }

  Filesystem& filesystem() { return filesystem_; }
  Filesystem::Path root() const { return "/somewhere"; }

 private:
  test_support::Fake_Filesystem filesystem_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FilesystemContract, Fake_Host);

}  // namespace
}  // namespace zant::velmora
