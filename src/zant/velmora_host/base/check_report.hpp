#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Something that could not be looked at, which is neither good nor bad.
struct Unchecked {
  std::string code;  ///< for programs: what was not checked
  std::string what;  ///< the same for a person
  std::string reason;
};

/// A key that the repository's signatures may be checked with, as the keyring states it.
struct Listed_Key {
  std::string keyring;                  ///< the file
  std::string fingerprint;              ///< in capital hexadecimal digits
  std::string primary;                  ///< the fingerprint of the key that it is a subkey of, or its own
  std::vector<std::string> user_names;  ///< of a primary key, as they stand there: untrusted text
  std::string algorithm;                ///< "Ed25519", "RSA"
  int bits = 0;
  std::string created;  ///< a day in UTC, "2026-01-31"
  std::string expires;  ///< the same; empty when it never does
  bool is_revoked = false;
  bool can_sign = false;
};

/// The findings of the preflight checks, what could not be checked, and the keys that are trusted.
struct Check_Report {
  Findings findings;
  std::vector<Unchecked> unchecked;
  std::vector<Listed_Key> keys = {};
};

}  // namespace zant::velmora_host
