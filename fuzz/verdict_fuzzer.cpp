// The record of the last verdict, which a crash, a full disk or an older version may have left: it is read
// and told, or counts as missing.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <support/fake_filesystem.hpp>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto file = verdict_store::file_in("/state");
  Fake_Filesystem files;
  files.add_file(file, input);
  const auto verdict = verdict_store::read(files, file);
  if (!verdict) {
    return;
  }
  require_tellable(*verdict);
  const auto now = std::chrono::system_clock::from_time_t(1795348800);
  const auto history = remembered(verdict->history, verdict->outlook, now);
  judge(verdict->outlook, history, std::chrono::hours(24 * 7), now);
}
