#include <zant/velmora_host/families/keyring_check.hpp>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <set>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

constexpr const char* ARMOUR = "-----BEGIN PGP";
constexpr int SMALLEST_RSA_BITS = 2048;
constexpr auto SOON = std::chrono::hours(24 * 30);

bool is_weak(const Signing_Key& key) {
  static const std::set<int> rsa = {1, 2, 3};
  static const std::set<int> outdated = {16, 17, 20};  // DSA and ElGamal
  return outdated.contains(key.algorithm) || (rsa.contains(key.algorithm) && key.bits < SMALLEST_RSA_BITS);
}

std::string day_of(system_clock::time_point time) {
  return fmt::format("{:%Y-%m-%d}", fmt::gmtime(system_clock::to_time_t(time)));
}

}  // namespace

Findings find_key_faults(const boost::filesystem::path& keyring, const std::vector<Signing_Key>& keys,
                         system_clock::time_point now) {
  Findings findings;
  const auto add = [&](const Signing_Key& key, const std::string& fault, const char* remedy,
                       const char* code) {
    findings.push_back(
        {keyring.string(), fmt::format("the key {} {}", key.fingerprint, fault), remedy, code});
  };
  const char* const new_keyring = "put the keyring with the repository's current keys there";
  for (const auto& key : keys) {
    if (key.revoked) {
      add(key, "is revoked: APT accepts nothing signed with it", new_keyring, "keyring.key_revoked");
    } else if (key.expiry && *key.expiry <= now) {
      add(key, "expired on " + day_of(*key.expiry), new_keyring, "keyring.key_expired");
    } else if (key.expiry && *key.expiry - now < SOON) {
      add(key, "expires on " + day_of(*key.expiry), new_keyring, "keyring.key_expires_soon");
    }
    if (is_weak(key)) {
      add(key,
          fmt::format("is weak (algorithm {}, {} bits): new releases of APT refuse it", key.algorithm,
                      key.bits),
          "have the repository signed with an Ed25519 key or an RSA key of at least 2048 bits",
          "keyring.weak_key");
    }
  }
  if (keys.empty()) {
    findings.push_back({keyring.string(), "holds no key that can sign", new_keyring, "keyring.empty"});
  }
  return findings;
}

void check_keyring(velmora::System& system, velmora::Filesystem& filesystem,
                   const boost::filesystem::path& keyring, Check_Report& report) {
  if (boost::algorithm::starts_with(filesystem.read_file(keyring, velmora::Read_Flag::WHOLE_TEXT), ARMOUR)) {
    report.findings.push_back({keyring.string(),
                               "is armoured, and APT reads only binary keyrings under this name",
                               "convert it with \"gpg --dearmor\"", "keyring.armoured"});
  }
  const auto keys = read_keyring(system, keyring);
  if (keys) {
    append(report.findings, find_key_faults(keyring, *keys, system_clock::now()));
    return;
  }
  if (has_gpg(system)) {
    report.findings.push_back(
        {keyring.string(), "is no keyring that gpg can read",
         "put the repository's public keys there, binary, as \"gpg --export\" writes them",
         "keyring.unreadable"});
  } else {
    report.unchecked.push_back({"keyring", "the keys in " + keyring.string() + " (age, strength)",
                                "gpg is not installed on this host"});
  }
}

}  // namespace zant::velmora_host
