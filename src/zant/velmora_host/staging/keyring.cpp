#include <zant/velmora_host/staging/keyring.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/staging/openpgp_packets.hpp>

#include <Poco/Base64Decoder.h>
#include <Poco/SHA1Engine.h>
#include <Poco/SHA2Engine.h>
#include <Poco/StreamCopier.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <utility>

namespace zant::velmora_host {
namespace {

using openpgp::Byte_Reader;
using openpgp::Packet;
using openpgp::Signature;
using std::chrono::system_clock;
namespace Tag = openpgp::Tag;

constexpr std::size_t LARGEST_KEYRING = std::size_t{1} << 20U;
constexpr std::string_view ARMOUR = "-----BEGIN PGP";

// Signatures by what they are about.
constexpr int FIRST_CERTIFICATION = 0x10;
constexpr int LAST_CERTIFICATION = 0x13;
constexpr int SUBKEY_BINDING = 0x18;
constexpr int DIRECT = 0x1F;
constexpr int KEY_REVOCATION = 0x20;
constexpr int SUBKEY_REVOCATION = 0x28;

constexpr std::uint32_t MAY_SIGN = 0x02;

// --- Armour ------------------------------------------------------------------

// One block after the other, each with its headers, an empty line, base64 and a checksum.
std::string without_armour(std::string_view text) {
  std::istringstream lines{std::string(text)};
  std::string bytes;
  std::string block;
  bool is_in_body = false;
  for (std::string line; std::getline(lines, line);) {
    boost::algorithm::trim(line);
    if (boost::algorithm::starts_with(line, "-----END")) {
      std::istringstream encoded(block);
      Poco::Base64Decoder decoder(encoded);
      std::ostringstream decoded;
      Poco::StreamCopier::copyStream(decoder, decoded);
      bytes += decoded.str();
      block.clear();
      is_in_body = false;
    } else if (is_in_body) {
      // The checksum's line has the equals sign at its front.
      block += line.empty() || line.front() == '=' ? "" : line;
    } else {
      is_in_body = line.empty();
    }
  }
  return bytes;
}

// --- Keys --------------------------------------------------------------------

std::string digest_of(Poco::DigestEngine& engine, const std::string& head, const std::string& body) {
  engine.update(head);
  engine.update(body);
  const auto& digest = engine.digest();
  return openpgp::to_hex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

std::string fingerprint_of(int version, const std::string& body) {
  const auto byte_of = [&body](unsigned int shift) {
    return static_cast<char>((body.size() >> shift) & 0xFFU);
  };
  if (version == 4) {
    Poco::SHA1Engine engine;
    return digest_of(engine, {'\x99', byte_of(8), byte_of(0)}, body);
  }
  if (version == 5 || version == 6) {
    Poco::SHA2Engine engine;
    return digest_of(
        engine, {version == 5 ? '\x9A' : '\x9B', byte_of(24), byte_of(16), byte_of(8), byte_of(0)}, body);
  }
  return "";
}

// Of the curves that keys of today have; 0 for any other.
int bits_of_curve(const std::string& oid) {
  static const std::vector<std::pair<const char*, int>> curves = {
      {"2B06010401DA470F01", 255}, {"2B060104019755010501", 255}, {"2B6571", 456},
      {"2A8648CE3D030107", 256},   {"2B81040022", 384},           {"2B81040023", 521},
      {"2B2403030208010107", 256}, {"2B240303020801010B", 384},   {"2B240303020801010D", 512},
  };
  const auto found =
      std::find_if(curves.begin(), curves.end(), [&oid](const auto& curve) { return curve.first == oid; });
  return found == curves.end() ? 0 : found->second;
}

// From the key's material, behind its algorithm.
int bits_of(int algorithm, Byte_Reader& material) {
  switch (algorithm) {
    case 18:  // ECDH
    case 19:  // ECDSA
    case 22:  // EdDSA
      return bits_of_curve(openpgp::to_hex(material.take(material.number(1))));
    case 25:  // X25519
    case 27:  // Ed25519
      return 255;
    case 26:  // X448
    case 28:  // Ed448
      return 456;
    default:  // the length of the first number
      return static_cast<int>(material.number(2));
  }
}

bool algorithm_can_sign(int algorithm) {
  static const std::vector<int> only_encrypt = {2, 16, 18, 25, 26};
  return std::find(only_encrypt.begin(), only_encrypt.end(), algorithm) == only_encrypt.end();
}

// A key without a lifetime never expires, nor does one that outlives the clock.
std::optional<system_clock::time_point> expiry_after(system_clock::time_point created,
                                                     std::chrono::seconds lifetime) {
  const auto since_epoch = std::chrono::floor<std::chrono::seconds>(created.time_since_epoch());
  return lifetime.count() == 0 ? std::nullopt : time_since_epoch((since_epoch + lifetime).count());
}

std::optional<Signing_Key> parse_key(const Packet& packet) {
  Byte_Reader reader(packet.body);
  Signing_Key key;
  key.version = static_cast<int>(reader.number(1));
  key.created = system_clock::time_point(std::chrono::seconds(reader.number(4)));
  if (key.version < 4) {
    key.expiry = expiry_after(key.created, std::chrono::hours(24) * reader.number(2));
  }
  key.algorithm = static_cast<int>(reader.number(1));
  if (key.version > 4) {
    reader.number(4);  // the material's length
  }
  key.bits = bits_of(key.algorithm, reader);
  key.can_sign = algorithm_can_sign(key.algorithm);
  key.fingerprint = fingerprint_of(key.version, packet.body);
  const bool is_known = key.version >= 2 && key.version <= 6;
  return reader.is_good() && is_known ? std::optional(key) : std::nullopt;
}

// An id is the fingerprint's end, from version 5 on its beginning.
bool is_issuer(const Signing_Key& key, const Signature& signature) {
  const auto& issuer = signature.issuer;
  return !issuer.empty() && (boost::algorithm::ends_with(key.fingerprint, issuer) ||
                             boost::algorithm::starts_with(key.fingerprint, issuer));
}

// Goes through a keyring's packets, in which what is about a key follows it.
class Keyring_Reader {
 public:
  // False for a packet that no keyring has.
  bool read(const Packet& packet) {
    switch (packet.tag) {
      case Tag::PUBLIC_KEY:
      case Tag::PUBLIC_SUBKEY:
        return add_key_(packet);
      case Tag::SECRET_KEY:
      case Tag::SECRET_SUBKEY:
        keyring_.has_secret_keys = true;
        has_key_ = false;
        return true;
      case Tag::USER_NAME:
        if (has_key_) {
          keyring_.keys[primary_].user_names.push_back(packet.body);
        }
        subject_ = Subject::USER;
        return true;
      case Tag::USER_ATTRIBUTE:
        subject_ = Subject::USER;
        return true;
      case Tag::SIGNATURE:
        if (const auto signature = openpgp::parse_signature(packet.body); signature && has_key_) {
          judge_(*signature);
        }
        return true;
      default:
        return is_ignored_(packet.tag);
    }
  }

  Keyring finish() {
    for (auto& key : keyring_.keys) {
      take_over_from_primary_(key);
    }
    return std::move(keyring_);
  }

 private:
  enum class Subject { PRIMARY, USER, SUBKEY };

  // Trust, markers and padding say nothing; encrypted or literal data make it another kind of file.
  static bool is_ignored_(int tag) { return tag == 10 || tag == 12 || tag == 21 || tag >= 40; }

  bool add_key_(const Packet& packet) {
    auto key = parse_key(packet);
    const bool is_subkey = packet.tag == Tag::PUBLIC_SUBKEY;
    if (!key || (is_subkey && !has_key_ && !keyring_.has_secret_keys)) {
      return false;
    }
    if (is_subkey && !has_key_) {
      return true;
    }
    if (!is_subkey) {
      primary_ = keyring_.keys.size();
    }
    key->primary = is_subkey ? keyring_.keys[primary_].fingerprint : key->fingerprint;
    keyring_.keys.push_back(std::move(*key));
    signature_time_.push_back(0);
    primary_of_.push_back(primary_);
    subject_ = is_subkey ? Subject::SUBKEY : Subject::PRIMARY;
    has_key_ = true;
    return true;
  }

  // What others state of the key does not count.
  void judge_(const Signature& signature) {
    if (!is_issuer(keyring_.keys[primary_], signature)) {
      return;
    }
    const std::size_t last = keyring_.keys.size() - 1;
    const bool certifies = signature.type >= FIRST_CERTIFICATION && signature.type <= LAST_CERTIFICATION;
    if (subject_ == Subject::PRIMARY && signature.type == KEY_REVOCATION) {
      keyring_.keys[primary_].revoked = true;
    } else if (subject_ == Subject::SUBKEY && signature.type == SUBKEY_REVOCATION) {
      keyring_.keys[last].revoked = true;
    } else if (subject_ == Subject::SUBKEY && signature.type == SUBKEY_BINDING) {
      apply_(signature, last);
    } else if ((subject_ == Subject::PRIMARY && signature.type == DIRECT) ||
               (subject_ == Subject::USER && certifies)) {
      apply_(signature, primary_);
    }
  }

  void apply_(const Signature& signature, std::size_t index) {
    if (signature.created < signature_time_[index]) {
      return;
    }
    signature_time_[index] = signature.created;
    Signing_Key& key = keyring_.keys[index];
    key.digest = signature.digest;
    key.expiry = expiry_after(key.created, std::chrono::seconds(signature.key_lifetime.value_or(0)));
    key.can_sign =
        signature.key_flags ? (*signature.key_flags & MAY_SIGN) != 0 : algorithm_can_sign(key.algorithm);
  }

  void take_over_from_primary_(Signing_Key& key) {
    const std::size_t index = static_cast<std::size_t>(&key - keyring_.keys.data());
    const Signing_Key& primary = keyring_.keys[primary_of_[index]];
    key.revoked = key.revoked || primary.revoked;
    if (primary.expiry && (!key.expiry || *primary.expiry < *key.expiry)) {
      key.expiry = primary.expiry;
    }
  }

  Keyring keyring_;
  std::vector<std::uint32_t> signature_time_;
  std::vector<std::size_t> primary_of_;
  std::size_t primary_ = 0;
  bool has_key_ = false;
  Subject subject_ = Subject::PRIMARY;
};

}  // namespace

std::optional<Keyring> parse_keyring(std::string_view text) {
  if (text.size() > LARGEST_KEYRING) {
    return std::nullopt;
  }
  const bool is_armoured = boost::algorithm::starts_with(text, ARMOUR);
  const std::string bytes = is_armoured ? without_armour(text) : std::string(text);
  const auto packets = openpgp::split_packets(bytes);
  if (!packets) {
    return std::nullopt;
  }
  Keyring_Reader reader;
  for (const auto& packet : *packets) {
    if (!reader.read(packet)) {
      return std::nullopt;
    }
  }
  Keyring keyring = reader.finish();
  keyring.is_armoured = is_armoured;
  return keyring;
}

std::optional<std::vector<Signing_Key>> read_keyring(velmora::Filesystem& filesystem,
                                                     const boost::filesystem::path& keyring) {
  auto parsed = parse_keyring(filesystem.read_file(keyring, velmora::Read_Flag::WHOLE_TEXT));
  return parsed ? std::optional(std::move(parsed->keys)) : std::nullopt;
}

std::vector<std::string> signers_of(const std::string& clear_signed) {
  std::vector<std::string> signers;
  const std::size_t begin = clear_signed.rfind("-----BEGIN PGP SIGNATURE-----");
  if (begin == std::string::npos || clear_signed.size() - begin > LARGEST_KEYRING) {
    return signers;
  }
  const auto packets = openpgp::split_packets(without_armour(std::string_view(clear_signed).substr(begin)));
  for (const auto& packet : packets.value_or(std::vector<Packet>{})) {
    const auto signature =
        packet.tag == Tag::SIGNATURE ? openpgp::parse_signature(packet.body) : std::nullopt;
    if (signature && !signature->issuer.empty()) {
      signers.push_back(signature->issuer);
    }
  }
  return signers;
}

}  // namespace zant::velmora_host
