// The record of the last cycle, which a crash, a full disk or an older version may have left: it is read, or
// counts as missing, and what was read can be written again.

#include <fuzz/fuzzer.hpp>
#include <support/fake_filesystem.hpp>

#include <standalone_host/observation/cycle_store.hpp>

using namespace zant::velmora::standalone_host;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto file = Cycle_Store::file_in("/state");
  Fake_Filesystem files;
  files.add_file(file, input);
  if (const auto state = Cycle_Store::read(files, file)) {
    require(Cycle_Store::write(files, file, *state));
    require(Cycle_Store::read(files, file).has_value());
  }
}
