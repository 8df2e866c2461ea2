#include <zant/velmora_host/families/keyring_check.hpp>

#include <fmt/format.h>
#include <zant/velmora_host/base/iso_time.hpp>

#include <algorithm>
#include <map>
#include <set>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using std::chrono::system_clock;

constexpr int SMALLEST_RSA_BITS = 2048;
constexpr auto SOON = std::chrono::hours(24 * 30);
constexpr const char* NEW_KEYRING = "put the keyring with the repository's current keys there";

bool is_weak(const Signing_Key& key) {
  static const std::set<int> rsa = {1, 2, 3};
  static const std::set<int> outdated = {16, 17, 20};  // DSA and ElGamal
  return key.version < 4 || outdated.contains(key.algorithm) ||
         (rsa.contains(key.algorithm) && key.bits < SMALLEST_RSA_BITS);
}

bool has_weak_digest(const Signing_Key& key) {
  static const std::set<int> outdated = {1, 2, 3};  // MD5, SHA-1, RIPEMD-160
  return outdated.contains(key.digest);
}

// RFC 4880, 9.1, and RFC 9580.
std::string algorithm_name(const Signing_Key& key) {
  static const std::map<int, const char*> names = {
      {1, "RSA"},   {2, "RSA"},      {3, "RSA"},      {16, "ElGamal"}, {17, "DSA"},
      {18, "ECDH"}, {19, "ECDSA"},   {20, "ElGamal"}, {22, "EdDSA"},   {25, "X25519"},
      {26, "X448"}, {27, "Ed25519"}, {28, "Ed448"}};
  const auto found = names.find(key.algorithm);
  return found == names.end() ? fmt::format("algorithm {}", key.algorithm) : found->second;
}

Listed_Key listed(const path& keyring, const Signing_Key& key) {
  return {keyring.string(),
          key.fingerprint,
          key.primary,
          key.user_names,
          algorithm_name(key),
          key.bits,
          to_iso_day(key.created),
          key.expiry ? to_iso_day(*key.expiry) : "",
          key.revoked,
          key.can_sign};
}

// APT accepts nothing that is signed with one of these.
void find_invalidity(const Signing_Key& key, system_clock::time_point now, const path& keyring,
                     Findings& findings) {
  const auto add = [&](const std::string& fault, const char* code) {
    findings.push_back(
        {keyring.string(), fmt::format("the key {} {}", key.fingerprint, fault), NEW_KEYRING, code});
  };
  if (key.revoked) {
    add("is revoked: APT accepts nothing signed with it", "keyring.key_revoked");
  } else if (key.expiry && *key.expiry <= now) {
    add("expired on " + to_iso_day(*key.expiry), "keyring.key_expired");
  } else if (key.expiry && *key.expiry - now < SOON) {
    add("expires on " + to_iso_day(*key.expiry), "keyring.key_expires_soon");
  }
}

void find_weakness(const Signing_Key& key, const path& keyring, Findings& findings) {
  if (is_weak(key)) {
    findings.push_back(
        {keyring.string(),
         fmt::format("the key {} is weak (algorithm {}, {} bits): new releases of APT refuse it",
                     key.fingerprint, key.algorithm, key.bits),
         "have the repository signed with an Ed25519 key or an RSA key of at least 2048 bits",
         "keyring.weak_key"});
  } else if (has_weak_digest(key)) {
    findings.push_back({keyring.string(),
                        fmt::format("the key {} is bound by a signature with an outdated digest (SHA-1 or "
                                    "older): new releases of APT refuse it",
                                    key.fingerprint),
                        "have the key certified again with SHA-256 or better, and export it anew",
                        "keyring.weak_digest"});
  }
}

bool can_sign(const Signing_Key& key) {
  return key.can_sign;
}

Finding unreadable(const path& keyring) {
  return {keyring.string(), "is not a keyring",
          "put the repository's public keys there, binary, as \"gpg --export\" writes them",
          "keyring.unreadable"};
}

}  // namespace

Findings find_key_faults(const path& keyring, const std::vector<Signing_Key>& keys,
                         system_clock::time_point now) {
  Findings findings;
  for (const auto& key : keys) {
    if (can_sign(key)) {
      find_invalidity(key, now, keyring, findings);
      find_weakness(key, keyring, findings);
    }
  }
  if (std::none_of(keys.begin(), keys.end(), can_sign)) {
    findings.push_back({keyring.string(), "holds no key that can sign", NEW_KEYRING, "keyring.empty"});
  }
  return findings;
}

void check_keyring(velmora::Filesystem& filesystem, const path& keyring, Check_Report& report) {
  const auto parsed = parse_keyring(filesystem.read_file(keyring, velmora::Read_Flag::WHOLE_TEXT));
  if (!parsed) {
    report.findings.push_back(unreadable(keyring));
    return;
  }
  if (parsed->is_armoured) {
    report.findings.push_back({keyring.string(),
                               "is armoured, and APT reads only binary keyrings under this name",
                               "convert it with \"gpg --dearmor\"", "keyring.armoured"});
  }
  if (parsed->has_secret_keys) {
    report.findings.push_back({keyring.string(),
                               "holds a secret key: whoever reads this file can sign in the vendor's name",
                               "tell the vendor, and put a keyring of public keys there, as \"gpg --export\" "
                               "writes it",
                               "keyring.secret_key"});
  } else {
    append(report.findings, find_key_faults(keyring, parsed->keys, system_clock::now()));
  }
  for (const auto& key : parsed->keys) {
    report.keys.push_back(listed(keyring, key));
  }
}

}  // namespace zant::velmora_host
