#include <standalone_host/reports/keyring_check.hpp>

#include <standalone_host/platform/temporary_directory.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include <charconv>
#include <set>
#include <sstream>

namespace zant::velmora::standalone_host {
namespace {

using std::chrono::system_clock;

constexpr const char* GPG_PRESENCE = "command -v gpg > /dev/null";
// A home of its own: gpg creates root's and keeps files there whatever it is asked. The path is the last word
// and comes from the settings, so it is quoted.
constexpr const char* LIST_KEYS =
    "gpg --homedir '{}' --batch --no-options --no-autostart --with-colons --fixed-list-mode --show-keys '{}'";

constexpr const char* ARMOUR = "-----BEGIN PGP";
constexpr int SMALLEST_RSA_BITS = 2048;
constexpr auto SOON = std::chrono::hours(24 * 30);

// The fields of a "pub" or "sub" line.
constexpr std::size_t VALIDITY = 1;
constexpr std::size_t BITS = 2;
constexpr std::size_t ALGORITHM = 3;
constexpr std::size_t EXPIRY = 6;
constexpr std::size_t CAPABILITIES = 11;
constexpr std::size_t FINGERPRINT = 9;

using Fields = std::vector<std::string>;

long long number_in(const std::string& text) {
  long long number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

Signing_Key key_of(const Fields& fields) {
  Signing_Key key;
  key.algorithm = static_cast<int>(number_in(fields[ALGORITHM]));
  key.bits = static_cast<int>(number_in(fields[BITS]));
  key.revoked = fields[VALIDITY] == "r";
  if (!fields[EXPIRY].empty()) {
    key.expiry = system_clock::from_time_t(number_in(fields[EXPIRY]));
  }
  return key;
}

bool is_key_line(const Fields& fields) {
  return (fields[0] == "pub" || fields[0] == "sub") && fields.size() > CAPABILITIES;
}

bool can_sign(const Fields& fields) {
  return fields[CAPABILITIES].find('s') != std::string::npos;
}

bool is_weak(const Signing_Key& key) {
  static const std::set<int> rsa = {1, 2, 3};
  static const std::set<int> outdated = {16, 17, 20};  // DSA and ElGamal
  return outdated.contains(key.algorithm) || (rsa.contains(key.algorithm) && key.bits < SMALLEST_RSA_BITS);
}

std::string day_of(system_clock::time_point time) {
  return fmt::format("{:%Y-%m-%d}", fmt::gmtime(system_clock::to_time_t(time)));
}

bool holds_quote(const boost::filesystem::path& path) {
  return path.string().find('\'') != std::string::npos;
}

}  // namespace

std::vector<Signing_Key> parse_key_listing(const std::string& listing) {
  std::vector<Signing_Key> keys;
  bool wants_fingerprint = false;
  std::istringstream lines(listing);
  for (std::string line; std::getline(lines, line);) {
    Fields fields;
    boost::algorithm::split(fields, line, boost::algorithm::is_any_of(":"));
    if (is_key_line(fields)) {
      wants_fingerprint = can_sign(fields);
      if (wants_fingerprint) {
        keys.push_back(key_of(fields));
      }
    } else if (fields[0] == "fpr" && wants_fingerprint && fields.size() > FINGERPRINT) {
      keys.back().fingerprint = fields[FINGERPRINT];
      wants_fingerprint = false;
    }
  }
  return keys;
}

std::optional<std::vector<Signing_Key>> read_keyring(System& system, const boost::filesystem::path& keyring) {
  if (holds_quote(keyring) || !command_succeeds(system, GPG_PRESENCE)) {
    return std::nullopt;
  }
  const Temporary_Directory home;
  const std::string command = fmt::format(LIST_KEYS, home.path().string(), keyring.string());
  const auto result = system.run_command(command, Run_Flag::WAIT_AND_CAPTURE);
  if (result.exit_code != 0) {
    return std::nullopt;
  }
  return parse_key_listing(result.output);
}

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

void check_keyring(System& system, Filesystem& filesystem, const boost::filesystem::path& keyring,
                   Check_Report& report) {
  if (boost::algorithm::starts_with(filesystem.read_file(keyring, Read_Flag::WHOLE_TEXT), ARMOUR)) {
    report.findings.push_back({keyring.string(),
                               "is armoured, and APT reads only binary keyrings under this name",
                               "convert it with \"gpg --dearmor\"", "keyring.armoured"});
  }
  const auto keys = read_keyring(system, keyring);
  if (keys) {
    append(report.findings, find_key_faults(keyring, *keys, system_clock::now()));
    return;
  }
  if (command_succeeds(system, GPG_PRESENCE)) {
    report.findings.push_back(
        {keyring.string(), "is no keyring that gpg can read",
         "put the repository's public keys there, binary, as \"gpg --export\" writes them",
         "keyring.unreadable"});
  } else {
    report.unchecked.push_back({"keyring", "the keys in " + keyring.string() + " (age, strength)",
                                "gpg is not installed on this host"});
  }
}

}  // namespace zant::velmora::standalone_host
