#pragma once

#include <zant/velmora/host/system.hpp>

#include <boost/filesystem/path.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A key or subkey of a keyring that can sign.
struct Signing_Key {
  std::string fingerprint;
  int algorithm = 0;  ///< RFC 4880, 9.1
  int bits = 0;
  bool revoked = false;
  std::optional<std::chrono::system_clock::time_point> expiry;  ///< empty when it never expires
};

/// Whether the host has gpg, without which no keyring can be read.
bool has_gpg(velmora::System& system);

/// The keys of a binary or armoured keyring, as the host's gpg reads them; nothing when the host has no gpg
/// or gpg cannot read the file. Changes nothing, not even gpg's own directory.
std::optional<std::vector<Signing_Key>> read_keyring(velmora::System& system,
                                                     const boost::filesystem::path& keyring);

/// What a listing of `gpg --with-colons --show-keys` says.
std::vector<Signing_Key> parse_key_listing(const std::string& listing);

}  // namespace zant::velmora_host
