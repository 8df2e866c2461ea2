// The file that tells of an installation that makes no progress, which a crash, a full disk or an older
// version may have left: it is read, and told as it is, or counts as missing.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_records.hpp>

#include <zant/velmora_host/observation/stalled_installation.hpp>

#include <support/fake_filesystem.hpp>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto file = stalled_installation::file_in("/state");
  Fake_Filesystem files;
  files.add_file(file, input);
  const auto stalled = stalled_installation::read(files, file);
  if (stalled) {
    require_tellable({}, stalled);
    require(stalled_installation::write(files, file, stalled));
    require(stalled_installation::read(files, file) == stalled);
  }
  require(stalled_installation::write(files, file, {}) && !files.has(file));
}
