#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The framing of OpenPGP (RFC 4880 and RFC 9580), as far as public keys need it. Reads what anybody may have
/// written: no input is read past its end, and the work is linear in its size.
namespace zant::velmora_host::openpgp {

/// Reads bytes from front to back. Reading past the end yields zeros and empty texts from then on.
class Byte_Reader {
 public:
  explicit Byte_Reader(std::string_view bytes) : rest_(bytes) {}

  bool is_at_end() const { return rest_.empty(); }

  /// False once something was read past the end.
  bool is_good() const { return is_good_; }

  /// A number of up to four bytes, the most significant first.
  std::uint32_t number(std::size_t size);
  std::string_view take(std::size_t size);
  std::string_view take_rest() { return take(rest_.size()); }

 private:
  std::string_view rest_;
  bool is_good_ = true;
};

/// What a packet holds, by its tag.
namespace Tag {
inline constexpr int SIGNATURE = 2;
inline constexpr int SECRET_KEY = 5;
inline constexpr int PUBLIC_KEY = 6;
inline constexpr int SECRET_SUBKEY = 7;
inline constexpr int USER_NAME = 13;
inline constexpr int PUBLIC_SUBKEY = 14;
inline constexpr int USER_ATTRIBUTE = 17;
}  // namespace Tag

struct Packet {
  int tag;
  std::string body;
};

/// The packets of a binary file; nothing when it is not made of whole packets.
std::optional<std::vector<Packet>> split_packets(std::string_view bytes);

/// What a signature states. Whether it is a valid one is not verified.
struct Signature {
  int type = 0;
  int digest = 0;  ///< RFC 4880, 9.4
  std::uint32_t created = 0;
  std::optional<std::uint32_t> key_lifetime;  ///< in seconds from the key's creation; 0 is for ever
  std::optional<std::uint32_t> key_flags;     ///< the first byte of them
  std::string issuer;                         ///< the key's id or fingerprint, in capital hexadecimal digits
};

/// Nothing for a version that is not known, or when the packet is cut short.
std::optional<Signature> parse_signature(std::string_view body);

/// In capital hexadecimal digits.
std::string to_hex(std::string_view bytes);

}  // namespace zant::velmora_host::openpgp
