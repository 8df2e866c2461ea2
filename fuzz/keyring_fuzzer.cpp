// A keyring, which an administrator may have put there: whatever it is, it is listed or refused, and each key
// that is listed belongs to a primary key before it.

#include <fuzz/fuzzer.hpp>

#include <zant/velmora_host/families/keyring_check.hpp>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  const auto keyring = parse_keyring(input);
  signers_of(input);
  if (!keyring) {
    return;
  }
  std::string primary;
  for (const auto& key : keyring->keys) {
    if (key.primary == key.fingerprint) {
      primary = key.primary;
    }
    require(key.primary == primary);
  }
  find_key_faults("/keyring", keyring->keys, std::chrono::system_clock::now());
}
