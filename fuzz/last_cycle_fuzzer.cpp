// The record of the last cycle, which a crash, a full disk or an older version may have left: it is read, or
// counts as missing, and what was read can be told, and written and read again, and is the same.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_records.hpp>
#include <support/fake_filesystem.hpp>

#include <zant/velmora_host/observation/cycle_store.hpp>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto file = cycle_store::file_in("/state");
  Fake_Filesystem files;
  files.add_file(file, input);
  if (auto state = cycle_store::read(files, file)) {
    require_tellable(state, {});
    require(cycle_store::write(files, file, *state));
    const auto text = files.contents(file);
    const auto again = cycle_store::read(files, file);
    require(again.has_value() && cycle_store::write(files, file, *again));
    require(files.contents(file) == text);
    describe(state->last_cycle);
    note_repair(state->history, HOLD_SUBJECT);
    conflicts(state->history);
    new_keys(state->history, std::chrono::system_clock::from_time_t(1795348800));
  }
}
