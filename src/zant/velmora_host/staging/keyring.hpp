#pragma once

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zant::velmora_host {

/// A key or subkey of a keyring, as the newest signatures of its own primary key in the keyring state it.
/// They are not verified: a keyring is trusted as a whole.
struct Signing_Key {
  std::string fingerprint;  ///< in capital hexadecimal digits; empty for keys of version 3 and older
  int algorithm = 0;        ///< RFC 4880, 9.1
  int bits = 0;
  bool revoked = false;                                         ///< it, or its primary key
  std::optional<std::chrono::system_clock::time_point> expiry;  ///< its own or its primary key's, whichever
                                                                ///< is sooner; empty when it never expires
  bool can_sign = true;
  int version = 4;
  int digest = 0;  ///< of the newest signature, RFC 4880, 9.4; 0 when there is none
  std::string primary = {};
  std::vector<std::string> user_names = {};  ///< of a primary key, untrusted
  std::chrono::system_clock::time_point created = {};
};

/// What a keyring holds.
struct Keyring {
  bool is_armoured = false;
  bool has_secret_keys = false;   ///< which are not listed
  std::vector<Signing_Key> keys;  ///< each primary key before its subkeys
};

/// The keyring in a text, binary or armoured; nothing when it is none, or larger than 1 MiB.
std::optional<Keyring> parse_keyring(std::string_view text);

/// The keys of a keyring; nothing when it cannot be read.
std::optional<std::vector<Signing_Key>> read_keyring(velmora::Filesystem& filesystem,
                                                     const boost::filesystem::path& keyring);

/// The keys that the signatures at the end of a clear-signed text name, by fingerprint or id in capital
/// hexadecimal digits. Whether they signed it is not verified.
std::vector<std::string> signers_of(const std::string& clear_signed);

}  // namespace zant::velmora_host
